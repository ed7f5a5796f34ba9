#pragma once
// The Security Center's product-list interfaces, which the toolchain's
// headers lack. The layouts are the system's binary contract: both derive
// from IDispatch and their methods follow in the order declared here.
#include <windows.h>

#include <oaidl.h>

namespace OrvikPkg::SystemInfo {

enum : ULONG {
    WSC_SECURITY_PROVIDER_FIREWALL = 0x1,
    WSC_SECURITY_PROVIDER_ANTIVIRUS = 0x4,
    WSC_SECURITY_PROVIDER_ANTISPYWARE = 0x8,
};

enum WSC_SECURITY_PRODUCT_STATE {
    WSC_SECURITY_PRODUCT_STATE_ON = 0,
    WSC_SECURITY_PRODUCT_STATE_OFF = 1,
    WSC_SECURITY_PRODUCT_STATE_SNOOZED = 2,
    WSC_SECURITY_PRODUCT_STATE_EXPIRED = 3,
};

enum WSC_SECURITY_SIGNATURE_STATUS {
    WSC_SECURITY_PRODUCT_OUT_OF_DATE = 0,
    WSC_SECURITY_PRODUCT_UP_TO_DATE = 1,
};

// {17072F7B-9ABE-4A74-A261-1EB76B55107A}
inline constexpr CLSID CLSID_WSCProductList = {
    0x17072F7B, 0x9ABE, 0x4A74, {0xA2, 0x61, 0x1E, 0xB7, 0x6B, 0x55, 0x10, 0x7A}};
// {722A338C-6E8E-4E72-AC27-1417FB0C81C2}
inline constexpr IID IID_IWSCProductList = {
    0x722A338C, 0x6E8E, 0x4E72, {0xAC, 0x27, 0x14, 0x17, 0xFB, 0x0C, 0x81, 0xC2}};

// One registered security product.
class IWscProduct : public IDispatch {
public:
    // The product's display name; the caller frees it with SysFreeString.
    virtual HRESULT STDMETHODCALLTYPE get_DisplayName(BSTR* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ProductState(WSC_SECURITY_PRODUCT_STATE* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SignatureStatus(WSC_SECURITY_SIGNATURE_STATUS* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_RemediationPath(BSTR* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ProductStateTimestamp(BSTR* value) = 0;
};

// The products of one provider kind.
class IWSCProductList : public IDispatch {
public:
    virtual HRESULT STDMETHODCALLTYPE Initialize(ULONG provider) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Count(LONG* count) = 0;
    // The caller releases the product.
    virtual HRESULT STDMETHODCALLTYPE get_Item(ULONG index, IWscProduct** product) = 0;
};

}  // namespace OrvikPkg::SystemInfo
