# The sources that need no Windows headers, relative to this folder. The
# product's build and the native (sanitizer and fuzzing) build both use them.
set(ORVIK_SHARED_PORTABLE_SOURCES
  shared/AbstractAttributes.cpp
  shared/ArchiveManager.cpp
  shared/ArchiveReadAhead.cpp
  shared/ConfigSettings.cpp
  shared/LogFormat.cpp
  shared/ConfigStore.cpp
  shared/ConfigStoreFiles.cpp
  shared/ConfigStoreNames.cpp
  shared/IniEntryWriter.cpp
  shared/IniGrammar.cpp
  shared/ErrorCatalog.cpp
  shared/ErrorMessage.cpp
  shared/Exception.cpp
  shared/ExceptionFamily.cpp
  shared/ExceptionReport.cpp
  shared/OsVersionEvaluator.cpp
  shared/Raise.cpp
  shared/TextConversion.cpp
  shared/Version.cpp
  shared/utils/DirectoryPath.cpp
  shared/utils/FileBytes.cpp
  shared/utils/FilePath.cpp
  shared/utils/PathUtils.cpp
)
set(ORVIK_PREINSTALL_PORTABLE_SOURCES
  preinstall/OnlineInstallInformation.cpp
  preinstall/CommandLineOptions.cpp
  preinstall/PackageManagerCommandLine.cpp
  preinstall/PayloadCheck.cpp
  preinstall/PreInstall.cpp
  preinstall/RebootSystem.cpp
  preinstall/PreInstallOptionObsolete.cpp
  preinstall/ProgramImage.cpp
  preinstall/WorkingDirectorySecurity.cpp)

