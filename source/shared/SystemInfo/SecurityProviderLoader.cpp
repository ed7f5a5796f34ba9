#define ORVIK_SOURCE_NAME L"source\\shared\\SystemInfo\\SecurityProviderLoader"

#include "shared/SystemInfo/SecurityProviderLoader.h"

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemInfo/SecurityCenterDeclarations.h"
#include "shared/WindowsApi/ComInitializer.h"
#include "shared/utils/WinResources.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::pkgshared::UniqueBstr;
using orvik::pkgshared::UniqueCom;

// The Security Center service is not active: as a Win32 code or as an HRESULT.
constexpr HRESULT kServiceNotActive = 0x426;
constexpr HRESULT kServiceNotActiveResult = static_cast<HRESULT>(0x80070426);

void ThrowIfFailed(HRESULT result, const char* operation, std::int32_t line) {
    if (FAILED(result)) {
        ORVIK_THROW_AT(line, orvik::pkgshared::WindowsFunctionErrorException,
                       static_cast<std::int32_t>(result), operation);
    }
}

}  // namespace

const SecurityProductList& SecurityProviderLoader::Get() {
    if (!loaded_) {
        list_ = Load();
        loaded_ = true;
    }
    return list_;
}

SecurityProductList SecurityProviderLoader::Load() const {
    SecurityProductList list;
    const WindowsApi::ComInitializer com(api_);
    UniqueCom<IWSCProductList> productList;
    const HRESULT created =
        api_.CoCreateInstance(CLSID_WSCProductList, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IWSCProductList, reinterpret_cast<LPVOID*>(productList.put()));
    if (created == REGDB_E_CLASSNOTREG) {
        list.status = SecurityProductList::kNotAvailable;
        return list;
    }
    ThrowIfFailed(FAILED(created) || productList ? created : E_POINTER,
                  "CoCreateInstance(WSCProductList)", 57);

    const HRESULT initialized = productList.get()->Initialize(providerKind_);
    if (initialized == kServiceNotActive || initialized == kServiceNotActiveResult) {
        list.status = SecurityProductList::kServiceNotRunning;
        return list;
    }
    ThrowIfFailed(initialized, "wscProductList->Initialize", 80);

    LONG count = 0;
    ThrowIfFailed(productList.get()->get_Count(&count), "wscProductList->get_Count", 88);
    for (LONG index = 0; index < count; ++index) {
        UniqueCom<IWscProduct> product;
        ThrowIfFailed(productList.get()->get_Item(static_cast<ULONG>(index), product.put()),
                      "wscProductList->get_Item", 96);
        ThrowIfFailed(product ? S_OK : E_POINTER, "wscProductList->get_Item", 96);
        UniqueBstr name;
        ThrowIfFailed(product.get()->get_DisplayName(name.put()), "wscProduct->get_DisplayName",
                      107);
        WSC_SECURITY_PRODUCT_STATE state = WSC_SECURITY_PRODUCT_STATE_OFF;
        ThrowIfFailed(product.get()->get_ProductState(&state), "wscProduct->get_ProductState", 115);
        list.products.push_back(
            {name ? std::wstring(name.get(), ::SysStringLen(name.get())) : std::wstring(),
             state == WSC_SECURITY_PRODUCT_STATE_ON});
    }
    list.status = SecurityProductList::kLoaded;
    return list;
}

}  // namespace OrvikPkg::SystemInfo
