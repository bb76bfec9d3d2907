# A room is one folder of src/ built as one static library. What it may link is what it may include.
add_library(tallyfox_flags INTERFACE)
target_compile_options(tallyfox_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess> -fno-omit-frame-pointer)
# What users run is hardened, and names no folder of the machine that built it.
target_compile_options(tallyfox_flags INTERFACE
  $<$<CONFIG:Release>:-fstack-protector-strong> $<$<CONFIG:Release>:-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=>)
if(NOT APPLE)
  # The Mac's loader has what these ask for without being asked.
  target_link_options(tallyfox_flags INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
endif()
if(APPLE)
  # AppKit ends the process by exit(), while a scan may be under way on its thread: tables that it reads stay to the end.
  target_compile_options(tallyfox_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-fno-c++-static-destructors>)
endif()
target_compile_definitions(tallyfox_flags INTERFACE
  BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_SEPARATE_COMPILATION BOOST_BEAST_SEPARATE_COMPILATION
  $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
target_include_directories(tallyfox_flags INTERFACE "${PROJECT_SOURCE_DIR}/src")
if(TALLYFOX_SANITIZE)
  # GCC's check for uninitialised values does not see through sanitizer code and finds what is not there.
  target_compile_options(tallyfox_flags INTERFACE -fsanitize=${TALLYFOX_SANITIZE} -fno-sanitize-recover=all
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(TALLYFOX_SANITIZE MATCHES "thread")
    # GCC says that it does not follow the fences in Asio's locks.
    target_compile_options(tallyfox_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
  endif()
  target_link_options(tallyfox_flags INTERFACE -fsanitize=${TALLYFOX_SANITIZE})
endif()
if(TALLYFOX_COVERAGE)
  target_compile_options(tallyfox_flags INTERFACE --coverage -O0)
  target_link_options(tallyfox_flags INTERFACE --coverage)
endif()

# What the simulation runs thousands of times is optimised a little in debug builds too; what measures or watches the
# code has options of its own.
function(tallyfox_optimize_debug target)
  if(NOT TALLYFOX_SANITIZE AND NOT TALLYFOX_COVERAGE)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-Og>)
  endif()
endfunction()

# tallyfox_room(NAME [LINK targets...] [PCH headers...] [EXCEPT files...]): the library tallyfox_NAME from the .cpp files
# of this folder.
function(tallyfox_room name)
  cmake_parse_arguments(ROOM "" "" "LINK;PCH;EXCEPT" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  foreach(pattern main.cpp ${ROOM_EXCEPT})
    list(FILTER sources EXCLUDE REGEX "/${pattern}$")
  endforeach()
  add_library(tallyfox_${name} STATIC ${sources})
  target_link_libraries(tallyfox_${name} PUBLIC tallyfox_flags ${ROOM_LINK})
  tallyfox_optimize_debug(tallyfox_${name})
  if(ROOM_PCH AND TALLYFOX_PRECOMPILE)
    target_precompile_headers(tallyfox_${name} PRIVATE ${ROOM_PCH})
  endif()
endfunction()

# tallyfox_objcxx_room(NAME [LINK targets...] [EXCEPT files...]): the library tallyfox_NAME from the .mm and .cpp files of
# this folder, with automatic reference counting where there is Objective-C.
function(tallyfox_objcxx_room name)
  cmake_parse_arguments(ROOM "" "" "LINK;EXCEPT" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/*.mm")
  list(FILTER sources EXCLUDE REGEX "/main\\.(cpp|mm)$")
  foreach(file ${ROOM_EXCEPT})
    list(FILTER sources EXCLUDE REGEX "/${file}$")
  endforeach()
  add_library(tallyfox_${name} STATIC ${sources})
  set_target_properties(tallyfox_${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_link_libraries(tallyfox_${name} PUBLIC tallyfox_flags ${ROOM_LINK})
  target_compile_options(tallyfox_${name} PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
  # Categories are not asked for by name.
  target_link_options(tallyfox_${name} INTERFACE -ObjC)
endfunction()

# tallyfox_tests(NAME [LINK targets...] [EXCEPT files...]): one test program from the .cpp files of this folder, run by
# ctest case by case, with the folder's name as label.
# Run so, properties draw the same random values each time; run by hand, they print the seed that repeats them.
function(tallyfox_tests name)
  cmake_parse_arguments(ROOM "" "" "LINK;EXCEPT" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  foreach(pattern ${ROOM_EXCEPT})
    list(FILTER sources EXCLUDE REGEX "/${pattern}$")
  endforeach()
  add_executable(test_${name} ${sources})
  target_link_libraries(test_${name} PRIVATE tallyfox_flags ${ROOM_LINK} GTest::gmock_main)
  target_include_directories(test_${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_compile_definitions(test_${name} PRIVATE TALLYFOX_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  if(TALLYFOX_PRECOMPILE)
    target_precompile_headers(test_${name} PRIVATE <gtest/gtest.h> <gmock/gmock.h> <nlohmann/json.hpp> <functional> <memory> <string> <vector>)
  endif()
  gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120 LABELS ${name}
                       ENVIRONMENT "RC_PARAMS=seed=20260314 max_success=200")
endfunction()
