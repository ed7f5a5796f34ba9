# The native (Linux, clang) build of the product's portable code: the library
# orvik_native, with AddressSanitizer and UndefinedBehaviorSanitizer unless
# ORVIK_SANITIZE is off. Included by the native project (tests/native), whose
# unit tests, fuzz targets and benchmark programs link it. Expects
# ORVIK_ROOT, the checkout.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()
# The benchmarks' build (instruction counts under valgrind) turns the
# sanitizers off.
option(ORVIK_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" ON)

set(ORVIK_SOURCE ${ORVIK_ROOT}/source)

# Debian's Boost 1.81, not the default 1.74.
find_package(Boost 1.81.0 EXACT CONFIG REQUIRED COMPONENTS filesystem system date_time)
find_package(LibArchive 3.6 REQUIRED)
find_package(pugixml 1.13 CONFIG REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

if(ORVIK_SANITIZE)
  set(ORVIK_SANITIZERS -fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
else()
  set(ORVIK_SANITIZERS)
endif()

add_library(orvik_native_settings INTERFACE)
target_compile_options(orvik_native_settings INTERFACE -Wall -Wextra -Werror
  ${ORVIK_SANITIZERS} -ffile-prefix-map=${ORVIK_ROOT}/=)
target_link_options(orvik_native_settings INTERFACE ${ORVIK_SANITIZERS})
target_include_directories(orvik_native_settings INTERFACE ${ORVIK_SOURCE})

set(ORVIK_CATALOG_CPP ${CMAKE_CURRENT_BINARY_DIR}/generated/ErrorCatalogTable.cpp)
add_custom_command(
  OUTPUT ${ORVIK_CATALOG_CPP}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/generated
  COMMAND Python3::Interpreter ${ORVIK_ROOT}/tools/catalog/generate_catalog.py
          ${ORVIK_SOURCE}/shared/ErrorCatalog.tsv ${ORVIK_CATALOG_CPP}
  DEPENDS ${ORVIK_SOURCE}/shared/ErrorCatalog.tsv ${ORVIK_ROOT}/tools/catalog/generate_catalog.py
  VERBATIM)

include(${ORVIK_SOURCE}/PortableSources.cmake)
list(TRANSFORM ORVIK_SHARED_PORTABLE_SOURCES PREPEND ${ORVIK_SOURCE}/)
list(TRANSFORM ORVIK_PREINSTALL_PORTABLE_SOURCES PREPEND ${ORVIK_SOURCE}/)
add_library(orvik_native STATIC
  ${ORVIK_SHARED_PORTABLE_SOURCES}
  ${ORVIK_PREINSTALL_PORTABLE_SOURCES}
  ${ORVIK_CATALOG_CPP}
  ${ORVIK_SOURCE}/shared/ConfigStoreFilesPosix.cpp
  ${ORVIK_SOURCE}/shared/DirectFileWriterPosix.cpp
  ${ORVIK_SOURCE}/shared/SystemErrorMessagePosix.cpp
  ${ORVIK_SOURCE}/shared/UiLanguagePosix.cpp)
target_link_libraries(orvik_native PUBLIC orvik_native_settings Boost::filesystem
  Boost::system Boost::date_time Boost::headers LibArchive::LibArchive pugixml::pugixml ZLIB::ZLIB)
