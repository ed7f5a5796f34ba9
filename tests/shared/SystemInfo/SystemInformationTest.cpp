#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/SystemInformation.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using ::testing::_;
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
    // `call` raises the Windows error `error`, read from `errors`, of `function` at `line`.
    void ExpectFailure(const std::function<void()>& call,
                       orvik::testing::MockErrorHandlingApi& errors, DWORD error,
                       const wchar_t* function, std::int32_t line) {
        EXPECT_CALL(errors, GetLastError()).WillOnce(Return(error));
        orvik::testing::ExpectThrows(call, {orvik::pkgshared::kWindowsFunctionErrorCode,
                                            {std::to_wstring(error), function},
                                            L"source\\shared\\SystemInfo/SystemInformation",
                                            line});
    }

    StrictMock<orvik::testing::MockComApi> com;
    StrictMock<orvik::testing::MockFileApi> files;
    StrictMock<orvik::testing::MockSysInfoApi> sysInfo;
    StrictMock<MockWmi> wmi;
    NoEventLog eventLog;
    SystemInformation information{com, files, sysInfo, wmi, eventLog};
};

TEST_F(SystemInformationTest, OperatingSystemComesFromOneWmiQuery) {
    const std::vector<std::wstring> names = {L"Caption",
                                             L"Version",
                                             L"OSArchitecture",
                                             L"ServicePackMajorVersion",
                                             L"ServicePackMinorVersion",
                                             L"ProductType"};
    auto properties = std::make_unique<StrictMock<MockProperties>>();
    for (size_t i = 0; i < names.size(); ++i) {
        if (i < 3) {
            EXPECT_CALL(*properties, GetString(names[i])).WillOnce(Return(names[i] + L"!"));
        } else {
            EXPECT_CALL(*properties, GetUInt32(names[i])).WillOnce(Return(i));
        }
    }
    auto proxy = std::make_unique<StrictMock<MockProxy>>();
    EXPECT_CALL(*proxy, GetObject(std::wstring(L"Win32_OperatingSystem"), names))
        .WillOnce(Return(::testing::ByMove(std::move(properties))));
    EXPECT_CALL(wmi, Connect()).WillOnce(Return(::testing::ByMove(std::move(proxy))));
    const OperatingSystem system = information.GetOperatingSystem();
    EXPECT_EQ((std::vector<std::wstring>{L"Caption!", L"Version!", L"OSArchitecture!"}),
              (std::vector<std::wstring>{system.caption, system.version, system.architecture}));
    EXPECT_EQ((std::vector<std::uint32_t>{3, 4, 5}),
              (std::vector<std::uint32_t>{system.servicePackMajorVersion,
                                          system.servicePackMinorVersion, system.productType}));
}

TEST_F(SystemInformationTest, MemoryDiskAndLocaleComeFromTheirCallsOrRaiseTheLastError) {
    EXPECT_CALL(sysInfo, GlobalMemoryStatusEx(_))
        .WillOnce([](LPMEMORYSTATUSEX status) {
            EXPECT_EQ(64u, status->dwLength);
            status->ullAvailPhys = 5000000000ull;
            status->dwMemoryLoad = 42;
            status->ullAvailVirtual = 3000000000ull;
            status->ullTotalPhys = 1;
            return TRUE;
        })
        .WillOnce(Return(FALSE));
    const Memory memory = information.GetMemory();
    EXPECT_EQ(5000000000ull, memory.availablePhysicalBytes);
    EXPECT_EQ(42u, memory.memoryLoadPercent);
    EXPECT_EQ(3000000000ull, memory.availableVirtualBytes);
    ExpectFailure([&] { information.GetMemory(); }, sysInfo.errors, 87, L"GlobalMemoryStatusEx",
                  76);

    EXPECT_CALL(files, GetDiskFreeSpaceExW(StrEq(L"D:\\data"), _, _, _))
        .WillOnce([](LPCWSTR, PULARGE_INTEGER available, PULARGE_INTEGER total,
                     PULARGE_INTEGER totalFree) {
            EXPECT_NE(nullptr, totalFree);
            available->QuadPart = 7000000000ull;
            total->QuadPart = 9000000000ull;
            totalFree->QuadPart = 8000000000ull;
            return TRUE;
        })
        .WillOnce(Return(FALSE));
    const DiskSpace space = information.GetDiskSpace(L"D:\\data");
    EXPECT_EQ(7000000000ull, space.freeBytesAvailable);
    EXPECT_EQ(9000000000ull, space.totalBytes);
    ExpectFailure([&] { information.GetDiskSpace(L"D:\\data"); }, files.errors, 3,
                  L"GetDiskFreeSpaceEx", 94);

    auto answer = [](const wchar_t* text) {
        return [text](LPCWSTR, LCTYPE, LPWSTR data, int capacity) {
            EXPECT_EQ(85, capacity);
            wcscpy(data, text);
            return static_cast<int>(wcslen(text) + 1);
        };
    };
    EXPECT_CALL(sysInfo, GetLocaleInfoEx(nullptr, 0x72u, _, _)).WillOnce(answer(L"German"));
    EXPECT_CALL(sysInfo, GetLocaleInfoEx(StrEq(L"!x-sys-default-locale"), 0x72u, _, _))
        .WillOnce(answer(L"English (United States)"))
        .WillOnce(Return(0));
    EXPECT_EQ(L"German", information.GetLocaleName(false));
    EXPECT_EQ(L"English (United States)", information.GetLocaleName(true));
    ExpectFailure([&] { information.GetLocaleName(true); }, sysInfo.errors, 122, L"GetLocaleInfoEx",
                  112);
}

TEST_F(SystemInformationTest, CurrentTimeIsTheSystemClockInTicksSince1970) {
    const auto before = std::chrono::system_clock::now();
    const SystemTime now = information.GetCurrentTime();
    EXPECT_LE(std::chrono::time_point_cast<SystemTicks>(before), now);
    EXPECT_GE(std::chrono::system_clock::now(), now);
    EXPECT_GT(now.time_since_epoch().count(), 15778368000000000);  // after 2020-01-01
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
