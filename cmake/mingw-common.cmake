# Shared part of the mingw-w64 cross toolchains. The including file sets
# ORVIK_MINGW_TRIPLE before including this one.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 10)

set(CMAKE_C_COMPILER ${ORVIK_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ORVIK_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ORVIK_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${ORVIK_MINGW_TRIPLE}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB ${ORVIK_MINGW_TRIPLE}-gcc-ranlib-posix CACHE FILEPATH "")

set(CMAKE_FIND_ROOT_PATH /usr/${ORVIK_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Prefix of the cross-built dependencies (tools/setup/build-deps.sh): searched
# like the sysroot. Taken from the cache or from the environment, so that it
# also reaches try_compile projects.
if(NOT ORVIK_DEPS_PREFIX AND DEFINED ENV{ORVIK_DEPS_PREFIX})
  set(ORVIK_DEPS_PREFIX $ENV{ORVIK_DEPS_PREFIX})
endif()
if(ORVIK_DEPS_PREFIX)
  list(APPEND CMAKE_FIND_ROOT_PATH ${ORVIK_DEPS_PREFIX})
endif()
