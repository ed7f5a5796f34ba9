#pragma once
// The one raise point of the system: throws an exception of the Exception
// family with the source file and line of the raising statement, so that no
// call site spells them out.
//
//   ORVIK_THROW(CouldNotCreateDirectoryException, error, path, message);
//   ORVIK_THROW(Exception, -126316);
//   ORVIK_THROW(PreInstallPayloadExtractEmpty);
//
// The recorded source is the raising file's path below the checkout, without
// its extension and with backslashes (source\shared\PathGuide). A file that
// reports under another name defines ORVIK_SOURCE_NAME as a wide literal
// before including this header.
#include <string>
#include <string_view>

namespace orvik::pkgshared {

// "…/source/shared/PathGuide.cpp" -> L"source\shared\PathGuide". The path is
// taken from its last "source/" component; a path without one is kept whole.
std::wstring SourceNameFromPath(std::string_view path);

}  // namespace orvik::pkgshared

#ifdef ORVIK_SOURCE_NAME
#define ORVIK_SOURCE_HERE std::wstring(ORVIK_SOURCE_NAME)
#else
#define ORVIK_SOURCE_HERE ::orvik::pkgshared::SourceNameFromPath(__FILE__)
#endif

#define ORVIK_THROW(Type, ...) \
    throw Type(__VA_ARGS__ __VA_OPT__(, ) ORVIK_SOURCE_HERE.c_str(), __LINE__)

// For the errors whose published identity includes a fixed line number
// (support documents refer to them by file and line): records `Line` instead
// of the raising statement's.
#define ORVIK_THROW_AT(Line, Type, ...) \
    throw Type(__VA_ARGS__ __VA_OPT__(, ) ORVIK_SOURCE_HERE.c_str(), Line)
