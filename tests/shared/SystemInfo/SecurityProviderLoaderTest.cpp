#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/SecurityProvidersInformation.h"
#include "support/TestData.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::testing::Caught;
using ::testing::_;
using ::testing::Return;
using ::testing::StrictMock;

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
    // The test's own reference.
    ULONG references = 1;
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
    HRESULT nameResult = S_OK;
    HRESULT stateResult = S_OK;
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
    HRESULT initializeResult = S_OK;
    HRESULT countResult = S_OK;
    HRESULT itemResult = S_OK;
};

class SecurityProviderLoaderTest : public ::testing::Test {
protected:
    void SetUp() override { ON_CALL(com, CoInitializeEx(nullptr, 2u)).WillByDefault(Return(S_OK)); }
    // Every CoCreateInstance of the product list hands out `list`.
    void Offer(HRESULT result = S_OK) {
        EXPECT_CALL(com, CoCreateInstance(_, nullptr, CLSCTX_INPROC_SERVER, _, _))
            .WillRepeatedly([this, result](REFCLSID classId, LPUNKNOWN, DWORD, REFIID interfaceId,
                                           LPVOID* object) {
                EXPECT_TRUE(::IsEqualGUID(classId, CLSID_WSCProductList));
                EXPECT_TRUE(::IsEqualGUID(interfaceId, IID_IWSCProductList));
                ++created;
                if (FAILED(result)) {
                    *object = nullptr;
                    return result;
                }
                list.AddRef();
                *object = static_cast<IWSCProductList*>(&list);
                return S_OK;
            });
    }
    // Each load initialises COM and undoes it.
    void ExpectComRounds(int rounds) {
        EXPECT_CALL(com, CoInitializeEx(nullptr, 2u)).Times(rounds);
        EXPECT_CALL(com, CoUninitialize()).Times(rounds);
    }

    StrictMock<orvik::testing::MockComApi> com;
    FakeProductList list;
    int created = 0;
};

TEST_F(SecurityProviderLoaderTest, ProductsInOrderEnabledOnlyWhenOn) {
    FakeProduct on(L"Shield \u00e9", WSC_SECURITY_PRODUCT_STATE_ON);
    FakeProduct off(L"Off", WSC_SECURITY_PRODUCT_STATE_OFF);
    FakeProduct snoozed(L"Snoozed", WSC_SECURITY_PRODUCT_STATE_SNOOZED);
    FakeProduct expired(L"Expired", WSC_SECURITY_PRODUCT_STATE_EXPIRED);
    list.products = {&snoozed, &on, &expired, &off};
    Offer();
    ExpectComRounds(1);
    SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTIVIRUS);
    const SecurityProductList& products = loader.Get();
    EXPECT_EQ(SecurityProductList::kLoaded, products.status);
    ASSERT_EQ(4u, products.products.size());
    EXPECT_EQ(L"Snoozed", products.products[0].displayName);
    EXPECT_FALSE(products.products[0].enabled);
    EXPECT_EQ(L"Shield \u00e9", products.products[1].displayName);
    EXPECT_TRUE(products.products[1].enabled);
    EXPECT_FALSE(products.products[2].enabled);
    EXPECT_FALSE(products.products[3].enabled);
    EXPECT_EQ(std::vector<ULONG>{4}, list.providers);
    // Every reference taken was given back.
    EXPECT_EQ(1u, list.references);
    EXPECT_EQ(1u, on.references);
    EXPECT_EQ(1u, off.references);
}

TEST_F(SecurityProviderLoaderTest, EachListAsksForItsKindOnceAndIsCached) {
    Offer();
    ExpectComRounds(3);
    SecurityProvidersInformation information(com);
    EXPECT_EQ(&information.GetAntivirusProducts(), &information.GetAntivirusProducts());
    information.GetAntispywareProducts();
    information.GetFirewallProducts();
    information.GetFirewallProducts();
    EXPECT_EQ((std::vector<ULONG>{4, 8, 1}), list.providers);
    EXPECT_EQ(3, created);
}

TEST_F(SecurityProviderLoaderTest, NoSecurityCenterIsAnEmptyUnavailableList) {
    Offer(REGDB_E_CLASSNOTREG);
    ExpectComRounds(1);
    SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_FIREWALL);
    EXPECT_EQ(SecurityProductList::kNotAvailable, loader.Get().status);
    EXPECT_TRUE(loader.Get().products.empty());
    EXPECT_EQ(1, created);  // the answer is cached too
}

TEST_F(SecurityProviderLoaderTest, StoppedServiceInEitherFormIsStatusTwo) {
    for (const HRESULT stopped : {static_cast<HRESULT>(0x426), static_cast<HRESULT>(0x80070426)}) {
        FakeProduct product(L"Never read", WSC_SECURITY_PRODUCT_STATE_ON);
        list.products = {&product};
        list.initializeResult = stopped;
        Offer();
        ExpectComRounds(1);
        SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTISPYWARE);
        EXPECT_EQ(SecurityProductList::kServiceNotRunning, loader.Get().status);
        EXPECT_TRUE(loader.Get().products.empty());
        EXPECT_EQ(1u, list.references);
        ::testing::Mock::VerifyAndClearExpectations(&com);
    }
}

TEST_F(SecurityProviderLoaderTest, ComAlreadyUpInAnotherModeIsLeftAlone) {
    Offer(REGDB_E_CLASSNOTREG);
    EXPECT_CALL(com, CoInitializeEx(nullptr, 2u)).WillOnce(Return(RPC_E_CHANGED_MODE));
    SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTIVIRUS);
    EXPECT_EQ(SecurityProductList::kNotAvailable, loader.Get().status);
}

TEST_F(SecurityProviderLoaderTest, FailuresNameTheCallAndAreRetriedNextTime) {
    FakeProduct product(L"Product", WSC_SECURITY_PRODUCT_STATE_ON);
    list.products = {&product};
    struct Case {
        std::function<void()> breakIt;
        const wchar_t* operation;
        std::int32_t line;
    };
    const std::vector<Case> cases = {
        {[&] { list.initializeResult = E_ACCESSDENIED; }, L"wscProductList->Initialize", 80},
        {[&] { list.countResult = E_UNEXPECTED; }, L"wscProductList->get_Count", 88},
        {[&] { list.itemResult = E_INVALIDARG; }, L"wscProductList->get_Item", 96},
        {[&] { product.nameResult = E_OUTOFMEMORY; }, L"wscProduct->get_DisplayName", 107},
        {[&] { product.stateResult = E_FAIL; }, L"wscProduct->get_ProductState", 115},
    };
    Offer();
    EXPECT_CALL(com, CoInitializeEx(nullptr, 2u)).Times(::testing::AnyNumber());
    EXPECT_CALL(com, CoUninitialize()).Times(::testing::AnyNumber());
    for (const Case& c : cases) {
        list.initializeResult = list.countResult = list.itemResult = S_OK;
        product.nameResult = product.stateResult = S_OK;
        c.breakIt();
        SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTIVIRUS);
        const orvik::pkgshared::Exception e = Caught([&] { loader.Get(); });
        EXPECT_EQ(orvik::pkgshared::kWindowsFunctionErrorCode, e.GetErrorCode()) << c.operation;
        EXPECT_EQ(c.operation, e.GetMessageArgument1());
        EXPECT_EQ(c.line, e.GetLineNumber());
        EXPECT_STREQ(L"source\\shared\\SystemInfo\\SecurityProviderLoader", e.GetSourceFile());
        EXPECT_EQ(1u, list.references);
        EXPECT_EQ(1u, product.references);
        // Mended, the next request loads.
        list.initializeResult = list.countResult = list.itemResult = S_OK;
        product.nameResult = product.stateResult = S_OK;
        EXPECT_EQ(1u, loader.Get().products.size());
    }
}

TEST_F(SecurityProviderLoaderTest, RefusedCreationIsAnError) {
    Offer(E_ACCESSDENIED);
    ExpectComRounds(1);
    SecurityProviderLoader loader(com, WSC_SECURITY_PROVIDER_ANTIVIRUS);
    const orvik::pkgshared::Exception e = Caught([&] { loader.Get(); });
    EXPECT_EQ(std::to_wstring(static_cast<std::int32_t>(E_ACCESSDENIED)), e.GetMessageArgument0());
    EXPECT_EQ(L"CoCreateInstance(WSCProductList)", e.GetMessageArgument1());
    EXPECT_EQ(57, e.GetLineNumber());
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
