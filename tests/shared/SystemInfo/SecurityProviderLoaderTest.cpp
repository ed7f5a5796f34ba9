#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/SecurityProvidersInformation.h"
#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {
using ::testing::_;
using ::testing::Return;
using ::testing::StrictMock;
// A product list or one of its products: counts references, answers set results.
struct FakeWsc : IWSCProductList, IWscProduct {
    FakeWsc(const wchar_t* name = L"", WSC_SECURITY_PRODUCT_STATE state = {})
        : name(name), state(state) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
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
    HRESULT STDMETHODCALLTYPE Initialize(ULONG provider) override {
        providers.push_back(provider);
        return initializeResult;
    }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override {
        *count = static_cast<LONG>(products.size());
        return countResult;
    }
    HRESULT STDMETHODCALLTYPE get_Item(ULONG index, IWscProduct** product) override {
        *product = SUCCEEDED(itemResult) ? products.at(index) : nullptr;
        products.at(index)->references += SUCCEEDED(itemResult) ? 1 : 0;
        return itemResult;
    }
    HRESULT STDMETHODCALLTYPE get_DisplayName(BSTR* value) override {
        *value = ::SysAllocString(name);
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
    const wchar_t* name;
    WSC_SECURITY_PRODUCT_STATE state;
    ULONG references = 1;  // the test's own
    std::vector<FakeWsc*> products;
    std::vector<ULONG> providers;
    HRESULT initializeResult = S_OK, countResult = S_OK, itemResult = S_OK, nameResult = S_OK,
            stateResult = S_OK;
};
// CoCreateInstance answers `createResult` and, on success, hands out `list`.
class SecurityProviderLoaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        EXPECT_CALL(com, CoInitializeEx(nullptr, 2u)).WillRepeatedly(Return(S_OK));
        EXPECT_CALL(com, CoUninitialize()).WillRepeatedly([this] { ++uninitialised; });
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
    StrictMock<orvik::testing::MockComApi> com;
    FakeWsc list;
    HRESULT createResult = S_OK;
    int created = 0, uninitialised = 0;
};
// Statuses are answers: an empty list, cached.
TEST_F(SecurityProviderLoaderTest, MissingOrStoppedSecurityCenterIsAnEmptyListWithAStatus) {
    FakeWsc product(L"Never read", WSC_SECURITY_PRODUCT_STATE_ON);
    list.products = {&product};
    const struct {
        HRESULT create, initialize;
        SecurityProductList::Status status;
    } rows[] = {{REGDB_E_CLASSNOTREG, S_OK, SecurityProductList::kNotAvailable},
                {S_OK, 0x426, SecurityProductList::kServiceNotRunning},
                {S_OK, static_cast<HRESULT>(0x80070426), SecurityProductList::kServiceNotRunning}};
    for (const auto& row : rows) {
        created = uninitialised = 0;
        createResult = row.create;
        list.initializeResult = row.initialize;
        SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTISPYWARE);
        EXPECT_EQ(row.status, loader.Get().status);
        EXPECT_EQ(std::make_pair(1, 1), std::make_pair(created, uninitialised));
        EXPECT_EQ(1u, list.references);
    }
}
// A failed load raises and is tried again; products are on only when ON; references go back.
TEST_F(SecurityProviderLoaderTest, FailuresNameTheCallAndTheNextRequestLoads) {
    FakeWsc on(L"Shield \u00e9", WSC_SECURITY_PRODUCT_STATE_ON);
    FakeWsc off(L"Off", WSC_SECURITY_PRODUCT_STATE_OFF);
    FakeWsc snoozed(L"Snoozed", WSC_SECURITY_PRODUCT_STATE_SNOOZED);
    list.products = {&snoozed, &on, &off};
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
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        row.result = row.failure;
        SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTIVIRUS);
        orvik::testing::ExpectThrows([&] { loader.Get(); },
                                     {orvik::pkgshared::kWindowsFunctionErrorCode,
                                      {std::to_wstring(row.failure), row.operation},
                                      L"source\\shared\\SystemInfo\\SecurityProviderLoader",
                                      row.line});
        row.result = S_OK;
        std::vector<std::pair<std::wstring, bool>> listed;
        for (const auto& product : loader.Get().products) {
            listed.emplace_back(product.displayName, product.enabled);
        }
        EXPECT_EQ(SecurityProductList::kLoaded, loader.Get().status);
        EXPECT_EQ((std::vector<std::pair<std::wstring, bool>>{
                      {L"Snoozed", false}, {L"Shield \u00e9", true}, {L"Off", false}}),
                  listed);
        for (const FakeWsc* held : {&on, &off, &snoozed, static_cast<FakeWsc*>(nullptr)}) {
            EXPECT_EQ(1u, held ? held->references : list.references);
        }
    }
    EXPECT_EQ(std::vector<ULONG>(2 * std::size(rows) - 1, 4), list.providers);
}
// A failed connection undoes only the COM initialisation the proxy made.
TEST(WindowsManagementInstrumentationTest, FailedConnectionUndoesOwnComOnly) {
    for (const HRESULT initialised : {S_OK, RPC_E_CHANGED_MODE}) {
        ::testing::StrictMock<orvik::testing::MockComApi> api;
        EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(initialised));
        EXPECT_CALL(api, CoCreateInstance(_, nullptr, CLSCTX_INPROC_SERVER, _, _))
            .WillOnce(Return(REGDB_E_CLASSNOTREG));
        EXPECT_CALL(api, CoUninitialize()).Times(initialised == S_OK ? 1 : 0);
        orvik::testing::ExpectThrows(
            [&] { WindowsManagementInstrumentation(api).Connect(); },
            {orvik::pkgshared::kWindowsFunctionErrorCode,
             {std::to_wstring(REGDB_E_CLASSNOTREG), L"CoCreateInstance(WbemLocator)"},
             L"source\\shared\\SystemInfo\\WindowsManagementInstrumentationProxy",
             37});
    }
}
}  // namespace
}  // namespace OrvikPkg::SystemInfo
