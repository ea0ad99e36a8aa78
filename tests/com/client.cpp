// A compiled COM client: creates the class by its ProgID and calls it through IDispatch, as C++
// hosts do, checks a few answers and the automation error of a bad argument, and times a method
// call. Prints "N passed, M failed".
#include <windows.h>
// windows.h first: the automation headers need its types.
#include <oleauto.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace {

int passed = 0;
int failed = 0;

void check(bool ok, const char* what) {
    ++(ok ? passed : failed);
    if (!ok) std::printf("FAIL %s\n", what);
}

// Calls `name` with `args` (in the caller's order); returns the HRESULT, the result and the
// exception information.
HRESULT call(IDispatch* d, const wchar_t* name, std::vector<VARIANT> args, VARIANT& result,
             EXCEPINFO& excep) {
    DISPID id = 0;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    HRESULT hr = d->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) return hr;
    std::vector<VARIANT> reversed(args.rbegin(), args.rend());
    DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    VariantInit(&result);
    excep = EXCEPINFO{};
    return d->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, &excep,
                     nullptr);
}

VARIANT number(double v) {
    VARIANT x;
    VariantInit(&x);
    V_VT(&x) = VT_R8;
    V_R8(&x) = v;
    return x;
}

VARIANT text(const wchar_t* v) {
    VARIANT x;
    VariantInit(&x);
    V_VT(&x) = VT_BSTR;
    V_BSTR(&x) = SysAllocString(v);
    return x;
}

bool isText(const VARIANT& v, const wchar_t* expected) {
    return V_VT(&v) == VT_BSTR && std::wstring(V_BSTR(&v)) == expected;
}

}  // namespace

int main() {
    CoInitialize(nullptr);
    CLSID clsid;
    IDispatch* d = nullptr;
    if (FAILED(CLSIDFromProgID(L"Synthor01.Synthor_01_vexa", &clsid)) ||
        FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                reinterpret_cast<void**>(&d)))) {
        std::printf("cannot create Synthor01.Synthor_01_vexa\n0 passed, 1 failed\n");
        return 1;
    }
    VARIANT r;
    EXCEPINFO e;
    check(SUCCEEDED(call(d, L"DLLVer", {}, r, e)) && isText(r, L"V1.0 Jan 2019"), "DLLVer");
    VariantClear(&r);
    check(SUCCEEDED(call(d, L"fnd", {}, r, e)) && V_VT(&r) == VT_I2 && V_I2(&r) == 1234, "FND");
    check(SUCCEEDED(call(d, L"SetSigGen", {text(L"CW"), number(1000), number(0)}, r, e)) &&
              isText(r, L"OK"),
          "SetSigGen CW");
    VariantClear(&r);
    const HRESULT hr = call(d, L"SetFrequency", {text(L"abc"), number(0)}, r, e);
    check(hr == DISP_E_EXCEPTION && e.scode == static_cast<SCODE>(0x800A000D) && e.bstrSource &&
              std::wstring(e.bstrSource) == L"Synthor01.Synthor_01_vexa",
          "type mismatch as automation error 13");

    // The cost of one late-bound call, names resolved once as hosts cache them.
    DISPID id = 0;
    LPOLESTR name[] = {const_cast<LPOLESTR>(L"LockStatus")};
    d->GetIDsOfNames(IID_NULL, name, 1, LOCALE_USER_DEFAULT, &id);
    DISPPARAMS none{nullptr, nullptr, 0, 0};
    constexpr int kCalls = 20000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCalls; ++i) {
        d->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, &r, nullptr, nullptr);
        VariantClear(&r);
    }
    const std::chrono::duration<double, std::micro> spent =
        std::chrono::steady_clock::now() - start;
    std::printf("LockStatus through IDispatch::Invoke: %.2f us per call (%d calls)\n",
                spent.count() / kCalls, kCalls);

    d->Release();
    CoUninitialize();
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
