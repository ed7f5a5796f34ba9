#pragma once
// The common controls and the theme API, both delay-loaded. Their headers
// declare the functions as DLL imports, and a call through an import
// declaration goes straight to the delay-import table slot, which the
// toolchain's delay-import libraries leave unbound until the function's own
// loading thunk has run. Declared plainly, every call goes through that thunk,
// which loads the DLL from the system folder on first use.
#include <windows.h>

#define WINCOMMCTRLAPI
#define THEMEAPI STDAPI
#define THEMEAPI_(type) STDAPI_(type)

#include <commctrl.h>
#include <uxtheme.h>
