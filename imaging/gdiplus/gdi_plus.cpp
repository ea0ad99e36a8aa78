// `cGdiPlus` over the GDI+ flat API.
#include "imaging/gdiplus/gdi_plus.hpp"

#include <gdiplus.h>

namespace synthor::imaging {

namespace gp = Gdiplus;
namespace flat = Gdiplus::DllExports;

namespace {

// {1D5BE4B5-FA4A-452D-9CDD-5DB35105E7EB}: the JPEG encoder's quality parameter.
constexpr GUID kEncoderQuality = {
    0x1d5be4b5, 0xfa4a, 0x452d, {0x9c, 0xdd, 0x5d, 0xb3, 0x51, 0x05, 0xe7, 0xeb}};

std::string narrow(const WCHAR* text) {
    std::string out;
    for (; *text; ++text)
        out.push_back(static_cast<char>(*text));
    return out;
}

std::wstring widen(std::string_view text) {
    std::wstring out(static_cast<std::size_t>(MultiByteToWideChar(
                         CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0)),
                     L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), out.data(),
                        static_cast<int>(out.size()));
    return out;
}

}  // namespace

cGdiPlus::cGdiPlus(ErrorHandler onError) : onError_(std::move(onError)) {
    gp::GdiplusStartupInput input;  // version 1
    auto status = gp::GdiplusStartup(&token_, &input, nullptr);
    if (status != gp::Ok) {
        token_ = 0;
        raise(status);
        return;
    }
    UINT count = 0, size = 0;
    if (flat::GdipGetImageEncodersSize(&count, &size) != gp::Ok || count == 0) return;
    encoders_.resize(size);
    auto* codecs = reinterpret_cast<gp::ImageCodecInfo*>(encoders_.data());
    if (flat::GdipGetImageEncoders(count, size, codecs) != gp::Ok) return;
    std::vector<EncoderInfo> table;
    for (UINT i = 0; i < count; ++i)
        table.push_back({narrow(codecs[i].CodecName), narrow(codecs[i].FilenameExtension)});
    index_ = ExtensionIndex(table);
}

cGdiPlus::~cGdiPlus() {
    if (token_ != 0) gp::GdiplusShutdown(token_);
}

void cGdiPlus::PictureBoxToFile(const Picture& pic, std::string_view sFilename,
                                std::int32_t lQuality) {
    auto plan = planSave(index_, sFilename, lQuality);
    if (!plan) return;
    const auto& codec =
        reinterpret_cast<const gp::ImageCodecInfo*>(encoders_.data())[plan->encoder];

    // The bitmap stays alive after the save: the exporter never releases it.
    gp::GpBitmap* bitmap = nullptr;
    auto status = flat::GdipCreateBitmapFromHBITMAP(pic.bitmap, pic.palette, &bitmap);
    if (status == gp::Ok) {
        auto path = widen(sFilename);
        if (!plan->quality) {
            status = flat::GdipSaveImageToFile(bitmap, path.c_str(), &codec.Clsid, nullptr);
        } else {
            gp::EncoderParameters params{};
            params.Count = 1;
            params.Parameter[0].Guid = kEncoderQuality;
            params.Parameter[0].Type = gp::EncoderParameterValueTypeLong;
            params.Parameter[0].NumberOfValues = 1;
            params.Parameter[0].Value = &lQuality;
            status = flat::GdipSaveImageToFile(bitmap, path.c_str(), &codec.Clsid, &params);
        }
    }
    if (status != gp::Ok) raise(status);
}

std::string cGdiPlus::GdiErrorString(long lGdiError) {
    return std::string(imaging::GdiErrorString(lGdiError));
}

void cGdiPlus::raise(long status) {
    if (onError_) onError_(status, status, GdiErrorString(status));
}

HBITMAP captureWindow(HWND window) {
    RECT r;
    GetWindowRect(window, &r);
    int width = r.right - r.left, height = r.bottom - r.top;
    HDC source = GetWindowDC(window);
    HDC memory = CreateCompatibleDC(source);
    HBITMAP bitmap = CreateCompatibleBitmap(source, width, height);
    HGDIOBJ old = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, source, 0, 0, SRCCOPY);
    SelectObject(memory, old);
    DeleteDC(memory);
    ReleaseDC(window, source);
    return bitmap;
}

}  // namespace synthor::imaging
