# A static ICU has its data in a library of its own, which the others need and do not name.
find_package(ICU 70 REQUIRED COMPONENTS i18n uc data)
target_link_libraries(ICU::uc INTERFACE ICU::data)
target_link_libraries(ICU::i18n INTERFACE ICU::uc)

# The QR code generator's header lies in a folder of its own in some distributions and in none in others.
find_package(unofficial-nayuki-qr-code-generator CONFIG QUIET)
if(unofficial-nayuki-qr-code-generator_FOUND)
  find_path(QRCODEGEN_HEADER_FOLDER qrcodegen.hpp REQUIRED)
  set(qrcodegen_library unofficial::nayuki-qr-code-generator::nayuki-qr-code-generator)
else()
  find_path(QRCODEGEN_HEADER_FOLDER qrcodegen.hpp PATH_SUFFIXES qrcodegen REQUIRED)
  find_library(QRCODEGEN_LIBRARY qrcodegencpp REQUIRED)
  set(qrcodegen_library "${QRCODEGEN_LIBRARY}")
endif()
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/qrcodegen/qrcodegen/qrcodegen.hpp"
     CONTENT "#include \"@QRCODEGEN_HEADER_FOLDER@/qrcodegen.hpp\"\n" @ONLY)
add_library(tallyfox_qrcodegen INTERFACE)
target_include_directories(tallyfox_qrcodegen SYSTEM INTERFACE "${PROJECT_BINARY_DIR}/qrcodegen")
target_link_libraries(tallyfox_qrcodegen INTERFACE ${qrcodegen_library})

set(TALLYFOX_SPARKLE "" CACHE PATH "Sparkle.framework, to be put into the application")
if(TALLYFOX_SPARKLE AND NOT EXISTS "${TALLYFOX_SPARKLE}/Headers/Sparkle.h")
  message(FATAL_ERROR "TALLYFOX_SPARKLE is not Sparkle.framework: ${TALLYFOX_SPARKLE}")
endif()

# frameworks.txt names the system's frameworks, so that scripts/check-macos links the same ones.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/platform/macos/frameworks.txt")
file(STRINGS "${PROJECT_SOURCE_DIR}/src/platform/macos/frameworks.txt" frameworks REGEX "^[A-Za-z]")
add_library(tallyfox_mac_frameworks INTERFACE)
foreach(framework ${frameworks})
  target_link_libraries(tallyfox_mac_frameworks INTERFACE "-framework ${framework}")
endforeach()
