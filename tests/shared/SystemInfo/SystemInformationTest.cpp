#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/SystemInformation.h"
#include "support/TestData.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::testing::Caught;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Return;
using ::testing::StrEq;
using ::testing::StrictMock;

class MockProperties : public IWindowsManagementInstrumentationProperties {
public:
    MOCK_METHOD(std::wstring, GetString, (const std::wstring&), (override));
    MOCK_METHOD(std::uint32_t, GetUInt32, (const std::wstring&), (override));
};

class MockProxy : public IWindowsManagementInstrumentationProxy {
public:
    MOCK_METHOD(std::unique_ptr<IWindowsManagementInstrumentationProperties>, GetObject,
                (const std::wstring&, const std::vector<std::wstring>&), (override));
};

class MockWmi : public IWindowsManagementInstrumentation {
public:
    MOCK_METHOD(std::unique_ptr<IWindowsManagementInstrumentationProxy>, Connect, (), (override));
};

class NoEventLog : public IWindowsEventLog {
public:
    std::unique_ptr<IWindowsEventQuery> Query(const std::wstring&, const std::wstring&) override {
        ADD_FAILURE() << "the event log is not read";
        return nullptr;
    }
};

class SystemInformationTest : public ::testing::Test {
protected:
    void ExpectLastError(orvik::testing::MockErrorHandlingApi& errors, DWORD error) {
        EXPECT_CALL(errors, GetLastError()).WillOnce(Return(error));
    }

    StrictMock<orvik::testing::MockComApi> com;
    StrictMock<orvik::testing::MockFileApi> files;
    StrictMock<orvik::testing::MockSysInfoApi> sysInfo;
    StrictMock<MockWmi> wmi;
    NoEventLog eventLog;
    SystemInformation information{com, files, sysInfo, wmi, eventLog};
};

TEST_F(SystemInformationTest, OperatingSystemComesFromOneWmiQuery) {
    auto properties = std::make_unique<StrictMock<MockProperties>>();
    EXPECT_CALL(*properties, GetString(std::wstring(L"Caption")))
        .WillOnce(Return(L"Windows 10 Pro"));
    EXPECT_CALL(*properties, GetString(std::wstring(L"Version"))).WillOnce(Return(L"10.0.19045"));
    EXPECT_CALL(*properties, GetString(std::wstring(L"OSArchitecture")))
        .WillOnce(Return(L"64-bit"));
    EXPECT_CALL(*properties, GetUInt32(std::wstring(L"ServicePackMajorVersion")))
        .WillOnce(Return(1u));
    EXPECT_CALL(*properties, GetUInt32(std::wstring(L"ServicePackMinorVersion")))
        .WillOnce(Return(2u));
    EXPECT_CALL(*properties, GetUInt32(std::wstring(L"ProductType"))).WillOnce(Return(3u));
    auto proxy = std::make_unique<StrictMock<MockProxy>>();
    EXPECT_CALL(*proxy, GetObject(std::wstring(L"Win32_OperatingSystem"),
                                  ElementsAre(L"Caption", L"Version", L"OSArchitecture",
                                              L"ServicePackMajorVersion",
                                              L"ServicePackMinorVersion", L"ProductType")))
        .WillOnce(Return(::testing::ByMove(std::move(properties))));
    EXPECT_CALL(wmi, Connect()).WillOnce(Return(::testing::ByMove(std::move(proxy))));

    const OperatingSystem system = information.GetOperatingSystem();
    EXPECT_EQ(L"Windows 10 Pro", system.caption);
    EXPECT_EQ(L"10.0.19045", system.version);
    EXPECT_EQ(L"64-bit", system.architecture);
    EXPECT_EQ(1u, system.servicePackMajorVersion);
    EXPECT_EQ(2u, system.servicePackMinorVersion);
    EXPECT_EQ(3u, system.productType);
}

TEST_F(SystemInformationTest, MemoryTakesThreeFiguresOfTheRecord) {
    EXPECT_CALL(sysInfo, GlobalMemoryStatusEx(_)).WillOnce([](LPMEMORYSTATUSEX status) {
        EXPECT_EQ(64u, status->dwLength);
        status->ullAvailPhys = 5000000000ull;
        status->dwMemoryLoad = 42;
        status->ullAvailVirtual = 3000000000ull;
        status->ullTotalPhys = 1;
        return TRUE;
    });
    const Memory memory = information.GetMemory();
    EXPECT_EQ(5000000000ull, memory.availablePhysicalBytes);
    EXPECT_EQ(42u, memory.memoryLoadPercent);
    EXPECT_EQ(3000000000ull, memory.availableVirtualBytes);

    EXPECT_CALL(sysInfo, GlobalMemoryStatusEx(_)).WillOnce(Return(FALSE));
    ExpectLastError(sysInfo.errors, ERROR_INVALID_PARAMETER);
    const orvik::pkgshared::Exception e = Caught([&] { information.GetMemory(); });
    EXPECT_EQ(L"87", e.GetMessageArgument0());
    EXPECT_EQ(L"GlobalMemoryStatusEx", e.GetMessageArgument1());
    EXPECT_STREQ(L"source\\shared\\SystemInfo/SystemInformation", e.GetSourceFile());
    EXPECT_EQ(76, e.GetLineNumber());
}

TEST_F(SystemInformationTest, DiskSpaceIsWhatTheCallerMayUseAndTheTotal) {
    EXPECT_CALL(files, GetDiskFreeSpaceExW(StrEq(L"D:\\data"), _, _, _))
        .WillOnce([](LPCWSTR, PULARGE_INTEGER available, PULARGE_INTEGER total,
                     PULARGE_INTEGER totalFree) {
            EXPECT_NE(nullptr, totalFree);
            available->QuadPart = 7000000000ull;
            total->QuadPart = 9000000000ull;
            totalFree->QuadPart = 8000000000ull;
            return TRUE;
        });
    const DiskSpace space = information.GetDiskSpace(L"D:\\data");
    EXPECT_EQ(7000000000ull, space.freeBytesAvailable);
    EXPECT_EQ(9000000000ull, space.totalBytes);

    EXPECT_CALL(files, GetDiskFreeSpaceExW(_, _, _, _)).WillOnce(Return(FALSE));
    ExpectLastError(files.errors, ERROR_PATH_NOT_FOUND);
    const orvik::pkgshared::Exception e = Caught([&] { information.GetDiskSpace(L"Q:\\"); });
    EXPECT_EQ(L"3", e.GetMessageArgument0());
    EXPECT_EQ(L"GetDiskFreeSpaceEx", e.GetMessageArgument1());
    EXPECT_EQ(94, e.GetLineNumber());
}

TEST_F(SystemInformationTest, LocaleNameOfTheUserOrTheSystem) {
    auto answer = [](const wchar_t* text) {
        return [text](LPCWSTR, LCTYPE, LPWSTR data, int capacity) {
            EXPECT_EQ(85, capacity);
            wcscpy(data, text);
            return static_cast<int>(wcslen(text) + 1);
        };
    };
    EXPECT_CALL(sysInfo, GetLocaleInfoEx(nullptr, 0x72u, _, _))
        .WillOnce(answer(L"German (Germany)"));
    EXPECT_CALL(sysInfo, GetLocaleInfoEx(StrEq(L"!x-sys-default-locale"), 0x72u, _, _))
        .WillOnce(answer(L"English (United States)"));
    EXPECT_EQ(L"German (Germany)", information.GetLocaleName(false));
    EXPECT_EQ(L"English (United States)", information.GetLocaleName(true));

    EXPECT_CALL(sysInfo, GetLocaleInfoEx(_, _, _, _)).WillOnce(Return(0));
    ExpectLastError(sysInfo.errors, ERROR_INSUFFICIENT_BUFFER);
    const orvik::pkgshared::Exception e = Caught([&] { information.GetLocaleName(true); });
    EXPECT_EQ(L"GetLocaleInfoEx", e.GetMessageArgument1());
    EXPECT_EQ(112, e.GetLineNumber());
}

TEST_F(SystemInformationTest, CurrentTimeIsTheSystemClockInTicksSince1970) {
    const auto before = std::chrono::system_clock::now();
    const SystemTime now = information.GetCurrentTime();
    const auto after = std::chrono::system_clock::now();
    EXPECT_LE(std::chrono::time_point_cast<SystemTicks>(before), now);
    EXPECT_GE(after, now);
    // Later than 2020-01-01.
    EXPECT_GT(now.time_since_epoch().count(), 15778368000000000);
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
