# Boost.Asio and Boost.Beast, compiled once. Everyone else sees only their declarations (the *_SEPARATE_COMPILATION
# definitions of tallyfox_flags), so every target that uses them links tallyfox_asio.
add_library(tallyfox_asio STATIC "${CMAKE_CURRENT_LIST_DIR}/asio.cpp")
target_compile_definitions(tallyfox_asio PUBLIC
  BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_SEPARATE_COMPILATION BOOST_BEAST_SEPARATE_COMPILATION)
target_compile_options(tallyfox_asio PRIVATE -w)
target_link_libraries(tallyfox_asio PUBLIC Boost::headers OpenSSL::SSL Threads::Threads)
if(TALLYFOX_SANITIZE)
  target_compile_options(tallyfox_asio PRIVATE -fsanitize=${TALLYFOX_SANITIZE} -fno-sanitize-recover=all)
endif()
