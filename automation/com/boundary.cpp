// Host variants in, results out, and the one error boundary of the server.
#include <new>
#include <string_view>
#include <vector>

#include "automation/com/server.hpp"
#include "automation/com/typelib.hpp"
#include "runtime/errors.hpp"
#include "runtime/win32/wide_text.hpp"

namespace synthor::com {
namespace {

// A VARIANT that clears itself.
struct HeldVariant {
    VARIANT v;
    HeldVariant() { VariantInit(&v); }
    ~HeldVariant() { VariantClear(&v); }
    HeldVariant(const HeldVariant&) = delete;
    HeldVariant& operator=(const HeldVariant&) = delete;
};

std::string fromBstr(BSTR text) {
    return win32::narrow(std::wstring_view(text ? text : L"", text ? SysStringLen(text) : 0));
}

// Sets the thread's error information (source, description) and returns the error code from
// which a script host takes `number` as its own error number.
HRESULT automationError(int number, const std::string& description, const std::string& source) {
    ICreateErrorInfo* create = nullptr;
    if (SUCCEEDED(CreateErrorInfo(&create))) {
        std::wstring wsource = source.empty() ? std::wstring(kProgId) : win32::widen(source);
        std::wstring wdescription = win32::widen(description);
        create->SetGUID(IID__Synthor_01_vexa);
        create->SetSource(wsource.data());
        create->SetDescription(wdescription.data());
        IErrorInfo* info = nullptr;
        if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
            SetErrorInfo(0, info);
            info->Release();
        }
        create->Release();
    }
    return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, static_cast<unsigned>(number) & 0xFFFF);
}

template <typename Store>
HRESULT guarded(const char* name, std::span<const VARIANT* const> args, Store store) noexcept {
    try {
        const AutomationMethod* method = findAutomationMethod(name);
        if (!method || !method->invoke) {
            return automationError(438, "Object doesn't support this property or method", {});
        }
        std::vector<Variant> values;
        values.reserve(args.size());
        for (const VARIANT* a : args)
            values.push_back(fromVariant(*a));
        Synthor_01_vexa object(moduleSession());
        return store(method->invoke(object, values));
    } catch (const RuntimeError& e) {
        return automationError(e.number(), e.description(), e.source());
    } catch (const std::bad_alloc&) {
        return automationError(7, "Out of memory", {});
    } catch (const std::exception& e) {
        return automationError(51, std::string("Internal error: ") + e.what(), {});
    } catch (...) {
        return automationError(51, "Internal error", {});
    }
}

}  // namespace

Variant fromVariant(const VARIANT& in) {
    const VARIANT* v = &in;
    while (V_VT(v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(v))
        v = V_VARIANTREF(v);
    HeldVariant deref;
    if (V_VT(v) & VT_BYREF) {
        if (FAILED(VariantCopyInd(&deref.v, const_cast<VARIANT*>(v)))) raise(errnum::TypeMismatch);
        v = &deref.v;
    }
    switch (V_VT(v)) {
        case VT_EMPTY:
            return std::monostate{};
        case VT_ERROR:
            if (V_ERROR(v) == DISP_E_PARAMNOTFOUND) return Missing{};
            raise(errnum::TypeMismatch);
        case VT_NULL:
            raise(94, "Invalid use of Null", {});
        case VT_BOOL:
            return V_BOOL(v) != VARIANT_FALSE;
        case VT_UI1:
            return static_cast<std::int16_t>(V_UI1(v));
        case VT_I2:
            return static_cast<std::int16_t>(V_I2(v));
        case VT_I4:
            return static_cast<std::int32_t>(V_I4(v));
        case VT_R4:
            return V_R4(v);
        case VT_R8:
            return V_R8(v);
        case VT_BSTR:
            return fromBstr(V_BSTR(v));
        default:
            break;
    }
    // Anything else (currency, decimal, dates, other integer widths, an object's default value):
    // a number if the system can make one, else a text, else a type mismatch.
    HeldVariant changed;
    if (SUCCEEDED(VariantChangeType(&changed.v, const_cast<VARIANT*>(v), 0, VT_R8)))
        return V_R8(&changed.v);
    if (SUCCEEDED(VariantChangeType(&changed.v, const_cast<VARIANT*>(v), 0, VT_BSTR)))
        return fromBstr(V_BSTR(&changed.v));
    raise(errnum::TypeMismatch);
}

HRESULT callMethod(const char* name, std::span<const VARIANT* const> args, short* result) {
    if (!result) return E_POINTER;
    return guarded(name, args, [result](const Variant& r) {
        *result = toInteger(r);
        return S_OK;
    });
}

HRESULT callMethod(const char* name, std::span<const VARIANT* const> args, BSTR* result) {
    if (!result) return E_POINTER;
    *result = nullptr;
    return guarded(name, args, [result](const Variant& r) {
        const std::wstring text = win32::widen(toText(r));
        *result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        return *result ? S_OK : E_OUTOFMEMORY;
    });
}

}  // namespace synthor::com
