// The class Synthor_01_vexa as a COM object (dual interface, error information), its class
// factory, and the module's entry points for getting a class object and unloading.
// initguid.h first: the generated header then defines the identifiers in this file.
#include <initguid.h>
#include <windows.h>

#include "automation/com/typelib.hpp"

#include <array>
#include <atomic>

#include "automation/com/server.hpp"

namespace synthor::com {
namespace {

HMODULE gModule = nullptr;
std::atomic<long> gModuleRefs{0};

class Object final : public _Synthor_01_vexa, public ISupportErrorInfo {
  public:
    Object() { addModuleRef(); }
    ~Object() { releaseModuleRef(); }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
        if (!out) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IDispatch || riid == IID__Synthor_01_vexa) {
            *out = static_cast<_Synthor_01_vexa*>(this);
        } else if (riid == IID_ISupportErrorInfo) {
            *out = static_cast<ISupportErrorInfo*>(this);
        } else {
            *out = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++refs_); }
    ULONG STDMETHODCALLTYPE Release() override {
        const long left = --refs_;
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

    // ISupportErrorInfo
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override {
        return riid == IID__Synthor_01_vexa ? S_OK : S_FALSE;
    }

    // IDispatch: everything is answered by the type library.
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        HRESULT hr = S_OK;
        *info = interfaceTypeInfo(&hr);
        if (*info) (*info)->AddRef();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override {
        HRESULT hr = S_OK;
        ITypeInfo* info = interfaceTypeInfo(&hr);
        return info ? DispGetIDsOfNames(info, names, count, ids) : hr;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* excep, UINT* argErr) override {
        HRESULT hr = S_OK;
        ITypeInfo* info = interfaceTypeInfo(&hr);
        if (!info) return hr;
        return info->Invoke(static_cast<_Synthor_01_vexa*>(this), id, flags, params, result, excep,
                            argErr);
    }

    // The published methods, in the type library's order.
    HRESULT STDMETHODCALLTYPE FND(short* r) override { return callMethod("FND", {}, r); }
    HRESULT STDMETHODCALLTYPE FNDSN(VARIANT serial, short* r) override {
        return call("FNDSN", r, serial);
    }
    HRESULT STDMETHODCALLTYPE CloseSigGen(BSTR* r) override {
        return callMethod("CloseSigGen", {}, r);
    }
    HRESULT STDMETHODCALLTYPE GenOff(BSTR* r) override { return callMethod("GenOff", {}, r); }
    HRESULT STDMETHODCALLTYPE ShowUI(BSTR* r) override { return callMethod("ShowUI", {}, r); }
    HRESULT STDMETHODCALLTYPE SetFrequency(VARIANT frequency, VARIANT level, BSTR* r) override {
        return call("SetFrequency", r, frequency, level);
    }
    HRESULT STDMETHODCALLTYPE SetPhase(VARIANT phase, BSTR* r) override {
        return call("SetPhase", r, phase);
    }
    HRESULT STDMETHODCALLTYPE ReadFplan(VARIANT fileName, BSTR* r) override {
        return call("ReadFplan", r, fileName);
    }
    HRESULT STDMETHODCALLTYPE SetFreqPlan(VARIANT start, VARIANT step, VARIANT points,
                                          VARIANT dwell, VARIANT level, BSTR* r) override {
        return call("SetFreqPlan", r, start, step, points, dwell, level);
    }
    HRESULT STDMETHODCALLTYPE GoFreqSweep(BSTR* r) override {
        return callMethod("GoFreqSweep", {}, r);
    }
    HRESULT STDMETHODCALLTYPE ClearFPlan(BSTR* r) override {
        return callMethod("ClearFPlan", {}, r);
    }
    HRESULT STDMETHODCALLTYPE DLLVer(BSTR* r) override { return callMethod("DLLVer", {}, r); }
    HRESULT STDMETHODCALLTYPE LockStatus(BSTR* r) override {
        return callMethod("LockStatus", {}, r);
    }
    HRESULT STDMETHODCALLTYPE SetSigGen(VARIANT command, VARIANT p1, VARIANT p2, VARIANT p3,
                                        VARIANT p4, VARIANT p5, BSTR* r) override {
        return call("SetSigGen", r, command, p1, p2, p3, p4, p5);
    }

  private:
    template <typename Result, typename... Args>
    static HRESULT call(const char* name, Result* r, const Args&... args) {
        const std::array<const VARIANT*, sizeof...(Args)> list{&args...};
        return callMethod(name, list, r);
    }

    std::atomic<long> refs_{1};
};

class Factory final : public IClassFactory {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
        if (!out) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IClassFactory) {
            *out = static_cast<IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    // The factory is static: it lives as long as the module.
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        Object* object = new (std::nothrow) Object;
        if (!object) return E_OUTOFMEMORY;
        const HRESULT hr = object->QueryInterface(riid, out);
        object->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock) {
            addModuleRef();
        } else {
            releaseModuleRef();
        }
        return S_OK;
    }
};

Factory gFactory;

}  // namespace

HMODULE moduleHandle() {
    return gModule;
}

std::wstring modulePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD n = GetModuleFileNameW(gModule, path.data(), static_cast<DWORD>(path.size()));
        if (n < path.size()) {
            path.resize(n);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

void addModuleRef() {
    ++gModuleRefs;
}

void releaseModuleRef() {
    --gModuleRefs;
}

ITypeInfo* interfaceTypeInfo(HRESULT* hr) {
    struct Loaded {
        ITypeInfo* info = nullptr;
        HRESULT hr = S_OK;
    };
    // Loaded once per process and kept, like the session.
    static const Loaded loaded = [] {
        Loaded l;
        ITypeLib* lib = nullptr;
        l.hr = LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, &lib);
        if (SUCCEEDED(l.hr)) {
            l.hr = lib->GetTypeInfoOfGuid(IID__Synthor_01_vexa, &l.info);
            lib->Release();
        }
        return l;
    }();
    if (hr) *hr = loaded.hr;
    return loaded.info;
}

}  // namespace synthor::com

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    // Nothing is cleaned up at process exit: the session lives until the process ends.
    if (reason == DLL_PROCESS_ATTACH) {
        synthor::com::gModule = instance;
        DisableThreadLibraryCalls(instance);
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (clsid != CLSID_Synthor_01_vexa) return CLASS_E_CLASSNOTAVAILABLE;
    return synthor::com::gFactory.QueryInterface(riid, out);
}

STDAPI DllCanUnloadNow() {
    return synthor::com::gModuleRefs == 0 ? S_OK : S_FALSE;
}

}  // extern "C"
