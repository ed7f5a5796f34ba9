# Delay-import libraries of system DLLs.
#
# A DLL in the import table is loaded by the loader before any code of the
# program runs, from the program's own folder first. Only the DLLs Windows
# protects as KnownDLLs may be imported that way; every other system DLL is
# delay-loaded: its functions bind on first call, after the entry has limited
# DLL loading to the system folder.
#
# orvik_delay_import(<name> <dll>) makes the INTERFACE target
# orvik::delay_<name> (also known by the plain <name>), a delay-import library
# of <dll> that offers every function the toolchain's import library
# lib<name>.a offers.

function(orvik_delay_import name dll)
  find_library(ORVIK_IMPORT_LIBRARY_${name} NAMES lib${name}.a REQUIRED NO_CACHE)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
    set(prefix "__imp__")  # stdcall names keep their @N; --kill-at imports them bare
  else()
    set(prefix "__imp_")
  endif()
  set(dir ${CMAKE_BINARY_DIR}/delayimp)
  set(def ${dir}/${name}.def)
  set(lib ${dir}/lib${name}_delay.a)
  add_custom_command(
    OUTPUT ${lib}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
    COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DIMPORT=${ORVIK_IMPORT_LIBRARY_${name}}
            -DDLL=${dll} -DPREFIX=${prefix} -DDEF=${def}
            -P ${CMAKE_SOURCE_DIR}/cmake/WriteDelayDef.cmake
    COMMAND ${CMAKE_DLLTOOL} --input-def ${def} --output-delaylib ${lib} --dllname ${dll}
            --kill-at
    DEPENDS ${ORVIK_IMPORT_LIBRARY_${name}} ${CMAKE_SOURCE_DIR}/cmake/WriteDelayDef.cmake
    COMMENT "Delay-import library of ${dll}"
    VERBATIM)
  add_custom_target(orvik_delay_${name}_lib DEPENDS ${lib})
  add_library(orvik_delay_${name} INTERFACE)
  add_dependencies(orvik_delay_${name} orvik_delay_${name}_lib)
  # The helper that binds delay-loaded functions comes after the library.
  target_link_libraries(orvik_delay_${name} INTERFACE ${lib} delayimp)
  add_library(orvik::delay_${name} ALIAS orvik_delay_${name})
  # Third-party packages that link the plain library name (Boost.Filesystem
  # links "bcrypt") get the delay-import library too.
  add_library(${name} ALIAS orvik_delay_${name})
endfunction()
