// Registration: the class, its ProgID, the type library and the interface, written under
// HKLM\Software\Classes (regsvr32) or HKCU\Software\Classes (regsvr32 /n /i:user, for users
// without administrator rights). Unregistering removes every key registering wrote.
#include <cwchar>
#include <string>
#include <vector>

#include <olectl.h>

#include "automation/com/server.hpp"
#include "automation/com/typelib.hpp"

namespace synthor::com {
namespace {

#ifdef _WIN64
constexpr const wchar_t* kPlatform = L"win64";
#else
constexpr const wchar_t* kPlatform = L"win32";
#endif
// The standard automation marshaler: interfaces described by a type library need no proxy DLL.
constexpr const wchar_t* kAutomationMarshaler = L"{00020424-0000-0000-C000-000000000046}";

std::wstring guidText(REFGUID guid) {
    wchar_t text[40] = L"";
    StringFromGUID2(guid, text, 40);
    return text;
}

struct Value {
    std::wstring key;   // below the classes root
    std::wstring name;  // empty: the key's default value
    std::wstring data;
};

// Everything registration writes. The type library's platform key is last among its keys so
// that a 32-bit and a 64-bit registration can share the TypeLib key.
std::vector<Value> registryValues() {
    const std::wstring clsid = L"CLSID\\" + guidText(CLSID_Synthor_01_vexa);
    const std::wstring libid = guidText(LIBID_Synthor01);
    const std::wstring typelib = L"TypeLib\\" + libid + L"\\1.0";
    const std::wstring iface = L"Interface\\" + guidText(IID__Synthor_01_vexa);
    return {
        {clsid, L"", kClassName},
        {clsid + L"\\InprocServer32", L"", modulePath()},
        {clsid + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
        {clsid + L"\\ProgID", L"", kProgId},
        {clsid + L"\\TypeLib", L"", libid},
        {clsid + L"\\Version", L"", L"1.0"},
        {kProgId, L"", kClassName},
        {std::wstring(kProgId) + L"\\CLSID", L"", guidText(CLSID_Synthor_01_vexa)},
        {typelib, L"", L"Synthor01 Type Library"},
        {typelib + L"\\FLAGS", L"", L"0"},
        {typelib + L"\\HELPDIR", L"", L""},
        {typelib + L"\\0\\" + kPlatform, L"", modulePath()},
        {iface, L"", L"_Synthor_01_vexa"},
        {iface + L"\\ProxyStubClsid", L"", kAutomationMarshaler},
        {iface + L"\\ProxyStubClsid32", L"", kAutomationMarshaler},
        {iface + L"\\TypeLib", L"", libid},
        {iface + L"\\TypeLib", L"Version", L"1.0"},
    };
}

HKEY classesRoot(bool perUser, HKEY& owned) {
    owned = nullptr;
    if (RegCreateKeyExW(perUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, L"Software\\Classes", 0,
                        nullptr, 0, KEY_ALL_ACCESS, nullptr, &owned, nullptr) != ERROR_SUCCESS) {
        return nullptr;
    }
    return owned;
}

bool hasSubkeys(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    DWORD subkeys = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr,
                     nullptr, nullptr, nullptr);
    RegCloseKey(key);
    return subkeys > 0;
}

HRESULT unregisterFrom(HKEY root) {
    const std::wstring libid = L"TypeLib\\" + guidText(LIBID_Synthor01);
    RegDeleteTreeW(root, (L"CLSID\\" + guidText(CLSID_Synthor_01_vexa)).c_str());
    RegDeleteTreeW(root, kProgId);
    // The type library may still be registered for the other platform: remove only this
    // platform's entry, and the rest once nothing else is left under it.
    RegDeleteTreeW(root, (libid + L"\\1.0\\0\\" + kPlatform).c_str());
    if (!hasSubkeys(root, libid + L"\\1.0\\0")) {
        RegDeleteTreeW(root, libid.c_str());
        RegDeleteTreeW(root, (L"Interface\\" + guidText(IID__Synthor_01_vexa)).c_str());
    }
    return S_OK;
}

HRESULT registerIn(HKEY root) {
    for (const Value& v : registryValues()) {
        HKEY key = nullptr;
        LSTATUS status = RegCreateKeyExW(root, v.key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                                         &key, nullptr);
        if (status == ERROR_SUCCESS) {
            status = RegSetValueExW(key, v.name.empty() ? nullptr : v.name.c_str(), 0, REG_SZ,
                                    reinterpret_cast<const BYTE*>(v.data.c_str()),
                                    static_cast<DWORD>((v.data.size() + 1) * sizeof(wchar_t)));
            RegCloseKey(key);
        }
        if (status != ERROR_SUCCESS) {
            unregisterFrom(root);
            return status == ERROR_ACCESS_DENIED ? SELFREG_E_CLASS : HRESULT_FROM_WIN32(status);
        }
    }
    return S_OK;
}

HRESULT update(bool install, bool perUser) {
    HKEY owned = nullptr;
    HKEY root = classesRoot(perUser, owned);
    if (!root) return install ? SELFREG_E_CLASS : S_OK;
    const HRESULT hr = install ? registerIn(root) : unregisterFrom(root);
    RegCloseKey(owned);
    return hr;
}

}  // namespace
}  // namespace synthor::com

extern "C" {

STDAPI DllRegisterServer() {
    return synthor::com::update(true, false);
}

STDAPI DllUnregisterServer() {
    return synthor::com::update(false, false);
}

// regsvr32 /n /i:user registers for the current user only; any other command line registers
// for the machine, as DllRegisterServer does.
STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
    const bool perUser = commandLine && _wcsicmp(commandLine, L"user") == 0;
    return synthor::com::update(install != FALSE, perUser);
}

}  // extern "C"
