# The packing tool's sources, relative to this folder: the portable ones, which
# every build compiles, and each host's entry and system adapters (the same
# names, ending in Win.cpp or Posix.cpp).
set(ORVIK_PACK_PORTABLE_SOURCES
  BlockDeflater.cpp
  ConsoleProgress.cpp
  EntryPathCheck.cpp
  ErrorText.cpp
  InputChecks.cpp
  OutputFile.cpp
  PackOptions.cpp
  PackProgress.cpp
  PackTool.cpp
  ParallelGzipWriter.cpp
  PayloadArchiver.cpp
  PayloadCeiling.cpp
  PayloadReview.cpp
  PeChecksum.cpp
  PeHeaders.cpp
  RebuiltImage.cpp
  ResourceTree.cpp
  ResourceWriter.cpp
  TemplateCheck.cpp
  ToolMessages.cpp)
set(ORVIK_PACK_HOST_SOURCES
  ConsoleProgress
  ErrorText
  FileMapping
  Main
  OutputFile
  ResolvedPath
  ResourceWriter)

# The sources of the tool for the host `host` (Win or Posix), with their paths.
function(orvik_pack_sources variable host)
  set(sources ${ORVIK_PACK_PORTABLE_SOURCES})
  foreach(name IN LISTS ORVIK_PACK_HOST_SOURCES)
    list(APPEND sources ${name}${host}.cpp)
  endforeach()
  list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/)
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# Natively, over the library orvik_native (cmake/NativePortable.cmake): the
# library orvik_native_pack of the tool without its entry, and the program
# orvikpkg-pack over it.
function(orvik_add_native_pack_tool)
  orvik_pack_sources(sources Posix)
  list(FILTER sources EXCLUDE REGEX "/MainPosix[.]cpp$")
  find_package(Threads REQUIRED)
  add_library(orvik_native_pack STATIC ${sources})
  target_link_libraries(orvik_native_pack PUBLIC orvik_native Threads::Threads)
  add_executable(orvikpkg-pack ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/MainPosix.cpp)
  target_link_libraries(orvikpkg-pack PRIVATE orvik_native_pack)
endfunction()
