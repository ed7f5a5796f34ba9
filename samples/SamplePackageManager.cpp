// The sample package manager of the demo: reports what it was asked to
// install and succeeds.
#include <windows.h>

#include <string>

#include "SampleReport.h"

int wmain() {
    const std::wstring commandLine = ::GetCommandLineW();
    orvik::samples::Report(L"  orvikpkg.exe ran in " + orvik::samples::CurrentDirectory());
    orvik::samples::Report(L"    command line: " + commandLine);
    if (commandLine.find(L"install-suite suite.dat") != std::wstring::npos) {
        orvik::samples::Report(L"    would install the products listed in suite.dat");
    } else if (commandLine.find(L"--uri=") != std::wstring::npos) {
        orvik::samples::Report(L"    would install the download named by --uri");
    }
    return 0;
}
