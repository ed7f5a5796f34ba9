#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/SecurityProvidersInformation.h"
#include "shared/SystemInfo/SystemInformation.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using ::testing::_;
using ::testing::Return;

// Reference counting and the IDispatch part every fake shares.
template <typename Interface>
class FakeDispatch : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return E_NOTIMPL;
    }
    ULONG references = 1;  // the test's own
};

class FakeProduct : public FakeDispatch<IWscProduct> {
public:
    FakeProduct(std::wstring name, WSC_SECURITY_PRODUCT_STATE state)
        : name(std::move(name)), state(state) {}
    HRESULT STDMETHODCALLTYPE get_DisplayName(BSTR* value) override {
        *value = ::SysAllocString(name.c_str());
        return nameResult;
    }
    HRESULT STDMETHODCALLTYPE get_ProductState(WSC_SECURITY_PRODUCT_STATE* value) override {
        *value = state;
        return stateResult;
    }
    HRESULT STDMETHODCALLTYPE get_SignatureStatus(WSC_SECURITY_SIGNATURE_STATUS*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_RemediationPath(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ProductStateTimestamp(BSTR*) override { return E_NOTIMPL; }
    std::wstring name;
    WSC_SECURITY_PRODUCT_STATE state;
    HRESULT nameResult = S_OK, stateResult = S_OK;
};

class FakeProductList : public FakeDispatch<IWSCProductList> {
public:
    HRESULT STDMETHODCALLTYPE Initialize(ULONG provider) override {
        providers.push_back(provider);
        return initializeResult;
    }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override {
        *count = static_cast<LONG>(products.size());
        return countResult;
    }
    HRESULT STDMETHODCALLTYPE get_Item(ULONG index, IWscProduct** product) override {
        if (FAILED(itemResult)) {
            return itemResult;
        }
        products.at(index)->AddRef();
        *product = products.at(index);
        return S_OK;
    }
    std::vector<FakeProduct*> products;
    std::vector<ULONG> providers;
    HRESULT initializeResult = S_OK, countResult = S_OK, itemResult = S_OK;
};

// Every CoCreateInstance of the product list answers `createResult` and,
// when that succeeds, hands out `list`.
class SecurityProviderLoaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        ON_CALL(com, CoInitializeEx(nullptr, 2u)).WillByDefault(Return(S_OK));
        Offer();
    }
    void Offer() {
        EXPECT_CALL(com, CoCreateInstance(_, nullptr, CLSCTX_INPROC_SERVER, _, _))
            .WillRepeatedly([this](REFCLSID classId, LPUNKNOWN, DWORD, REFIID interfaceId,
                                   LPVOID* object) {
                EXPECT_TRUE(::IsEqualGUID(classId, CLSID_WSCProductList));
                EXPECT_TRUE(::IsEqualGUID(interfaceId, IID_IWSCProductList));
                ++created;
                *object = SUCCEEDED(createResult) ? static_cast<IWSCProductList*>(&list) : nullptr;
                list.references += SUCCEEDED(createResult) ? 1 : 0;
                return createResult;
            });
    }
    // Each load initialises COM and undoes it.
    void ExpectComRounds(int rounds) {
        EXPECT_CALL(com, CoInitializeEx(nullptr, 2u)).Times(rounds);
        EXPECT_CALL(com, CoUninitialize()).Times(rounds);
    }

    ::testing::StrictMock<orvik::testing::MockComApi> com;
    FakeProductList list;
    HRESULT createResult = S_OK;
    int created = 0;
};

TEST_F(SecurityProviderLoaderTest, EachListAsksForItsKindOnceAndIsCached) {
    ExpectComRounds(3);
    SecurityProvidersInformation information(com);
    EXPECT_EQ(&information.GetAntivirusProducts(), &information.GetAntivirusProducts());
    information.GetAntispywareProducts();
    information.GetFirewallProducts();
    information.GetFirewallProducts();
    EXPECT_EQ((std::vector<ULONG>{4, 8, 1}), list.providers);
    EXPECT_EQ(3, created);
}

// Statuses that are answers, not errors: an empty list, cached; COM already
// up in another mode is not undone.
TEST_F(SecurityProviderLoaderTest, MissingOrStoppedSecurityCenterIsAnEmptyListWithAStatus) {
    FakeProduct product(L"Never read", WSC_SECURITY_PRODUCT_STATE_ON);
    list.products = {&product};
    const struct {
        HRESULT coInit, create, initialize;
        SecurityProductList::Status status;
    } rows[] = {
        {S_OK, REGDB_E_CLASSNOTREG, S_OK, SecurityProductList::kNotAvailable},
        {RPC_E_CHANGED_MODE, REGDB_E_CLASSNOTREG, S_OK, SecurityProductList::kNotAvailable},
        {S_OK, S_OK, 0x426, SecurityProductList::kServiceNotRunning},
        {S_OK, S_OK, static_cast<HRESULT>(0x80070426), SecurityProductList::kServiceNotRunning},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << std::hex << row.create << " " << row.initialize);
        created = 0;
        createResult = row.create;
        list.initializeResult = row.initialize;
        EXPECT_CALL(com, CoInitializeEx(nullptr, 2u)).WillOnce(Return(row.coInit));
        EXPECT_CALL(com, CoUninitialize()).Times(row.coInit == S_OK ? 1 : 0);
        SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTISPYWARE);
        EXPECT_EQ(row.status, loader.Get().status);
        EXPECT_TRUE(loader.Get().products.empty());
        EXPECT_EQ(1, created);
        EXPECT_EQ(1u, list.references);
        ::testing::Mock::VerifyAndClearExpectations(&com);
        Offer();
    }
}

// A failed load raises naming the call and is tried again on the next
// request, which lists the products in order, enabled only when on; every
// reference taken is given back either way.
TEST_F(SecurityProviderLoaderTest, FailuresNameTheCallAndTheNextRequestLoads) {
    FakeProduct on(L"Shield \u00e9", WSC_SECURITY_PRODUCT_STATE_ON);
    FakeProduct off(L"Off", WSC_SECURITY_PRODUCT_STATE_OFF);
    FakeProduct snoozed(L"Snoozed", WSC_SECURITY_PRODUCT_STATE_SNOOZED);
    FakeProduct expired(L"Expired", WSC_SECURITY_PRODUCT_STATE_EXPIRED);
    list.products = {&snoozed, &on, &expired, &off};
    const struct {
        HRESULT& result;
        HRESULT failure;
        const wchar_t* operation;
        std::int32_t line;
    } rows[] = {
        {createResult, E_ACCESSDENIED, L"CoCreateInstance(WSCProductList)", 57},
        {list.initializeResult, E_ACCESSDENIED, L"wscProductList->Initialize", 80},
        {list.countResult, E_UNEXPECTED, L"wscProductList->get_Count", 88},
        {list.itemResult, E_INVALIDARG, L"wscProductList->get_Item", 96},
        {on.nameResult, E_OUTOFMEMORY, L"wscProduct->get_DisplayName", 107},
        {on.stateResult, E_FAIL, L"wscProduct->get_ProductState", 115},
    };
    ExpectComRounds(2 * std::size(rows));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.operation);
        row.result = row.failure;
        SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTIVIRUS);
        orvik::testing::ExpectThrows([&] { loader.Get(); },
                                     {orvik::pkgshared::kWindowsFunctionErrorCode,
                                      {std::to_wstring(row.failure), row.operation},
                                      L"source\\shared\\SystemInfo\\SecurityProviderLoader",
                                      row.line});
        row.result = S_OK;
        const SecurityProductList& products = loader.Get();
        EXPECT_EQ(SecurityProductList::kLoaded, products.status);
        std::vector<std::pair<std::wstring, bool>> listed;
        for (const auto& product : products.products) {
            listed.emplace_back(product.displayName, product.enabled);
        }
        EXPECT_EQ((std::vector<std::pair<std::wstring, bool>>{{L"Snoozed", false},
                                                              {L"Shield \u00e9", true},
                                                              {L"Expired", false},
                                                              {L"Off", false}}),
                  listed);
        for (const FakeDispatch<IWscProduct>* held : {&on, &off, &snoozed, &expired}) {
            EXPECT_EQ(1u, held->references);
        }
        EXPECT_EQ(1u, list.references);
    }
    EXPECT_EQ(std::vector<ULONG>(2 * std::size(rows) - 1, 4), list.providers);
}

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
