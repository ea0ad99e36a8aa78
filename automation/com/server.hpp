// The in-process automation server Synthor01.dll: what its parts share. The object and its class
// factory (object.cpp), the registration entry points (registration.cpp), the variant and error
// boundary (boundary.cpp) and the session the whole DLL shares (module_session.cpp).
#pragma once

#include <windows.h>
// windows.h first: the automation headers need its types.
#include <oaidl.h>

#include <span>
#include <string>

#include "automation/synthor_01_vexa.hpp"
#include "runtime/variant.hpp"

namespace synthor::com {

inline constexpr const wchar_t* kProgId = L"Synthor01.Synthor_01_vexa";
inline constexpr const wchar_t* kClassName = L"Synthor_01_vexa";

// This DLL's module handle and full path.
HMODULE moduleHandle();
std::wstring modulePath();

// Live objects and server locks, for DllCanUnloadNow.
void addModuleRef();
void releaseModuleRef();

// The type information of the class's interface, loaded once from the embedded type library;
// nullptr (and the failure in `hr`) when it cannot be loaded.
ITypeInfo* interfaceTypeInfo(HRESULT* hr = nullptr);

// The one session of this loaded DLL, built on first use and never destroyed.
Session& moduleSession();

// A host's argument (by reference or not) as the library's variant. Omitted optional arguments
// become Missing; a type with no such value raises error 13.
Variant fromVariant(const VARIANT& v);

// Runs `invoke` of the published method `name` with `args`, and stores its result in `result`
// (a 16-bit integer or a new BSTR). The one place where a runtime error, or any other exception,
// becomes the automation error a host expects: nothing is thrown past it.
HRESULT callMethod(const char* name, std::span<const VARIANT* const> args, short* result);
HRESULT callMethod(const char* name, std::span<const VARIANT* const> args, BSTR* result);

}  // namespace synthor::com
