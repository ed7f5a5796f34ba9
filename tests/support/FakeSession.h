#pragma once
// A session whose logs directory is a folder of the test's and whose logger records lines.
#include "shared/ISharedSession.h"
#include "shared/PathGuide.h"
#include "support/Fakes.h"
#include "support/SystemInfoMocks.h"

namespace orvik::testing {

class LogsHere : public pkgshared::PathGuide {
public:
    using PathGuide::PathGuide;
    std::wstring GetLogsDirectory() const override { return logs; }
    std::wstring logs;
};

class FakeSession : public pkgshared::ISharedSession {
public:
    using SystemInformation = OrvikPkg::SystemInfo::ISystemInformation;
    FakeSession() : guide(configuration) {}
    pkgshared::PathGuide& GetPathGuide() override { return guide; }
    pkgshared::ILocalConfiguration& GetLocalConfiguration() override { return configuration; }
    pkgshared::ILogger& GetLogger() override { return logger; }
    SystemInformation& GetSystemInformation() override { return systemInformation; }
    FakeConfiguration configuration;
    LogsHere guide;
    RecordingLogger logger;
    ::testing::StrictMock<MockSystemInformation> systemInformation;
};

}  // namespace orvik::testing
