// `cGdiPlus` over the GDI+ flat API.
#include "imaging/gdiplus/gdi_plus.hpp"

#include <gdiplus.h>

#include <array>
#include <cctype>

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

std::string trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return std::string(text);
}

// The text after the last "." unless a "\" follows it.
std::string extensionOf(std::string_view name) {
    auto dot = name.rfind('.');
    if (dot == std::string_view::npos || name.find('\\', dot) != std::string_view::npos) return {};
    return std::string(name.substr(dot + 1));
}

std::string upper(std::string text) {
    for (auto& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace

cGdiPlus::cGdiPlus(ErrorEvent onError) : onError_(std::move(onError)) {
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
    encoderCount_ = static_cast<int>(count);
    for (int i = 0; i < encoderCount_; ++i) {
        std::string list = narrow(codecs[i].FilenameExtension);
        std::size_t start = 0;
        while (start <= list.size()) {
            auto end = list.find(';', start);
            if (end == std::string::npos) end = list.size();
            auto piece = trim(std::string_view(list).substr(start, end - start));
            // Keys compare case-insensitively, as a keyed collection's do.
            if (!piece.empty()) index_.emplace(upper(piece), i);
            start = end + 1;
        }
    }
}

cGdiPlus::~cGdiPlus() {
    if (token_ != 0) gp::GdiplusShutdown(token_);
}

void cGdiPlus::PictureBoxToFile(const Picture& pic, std::string_view sFilename,
                                std::int32_t lQuality) {
    auto extension = extensionOf(sFilename);
    auto found = index_.find(upper("*." + extension));
    int encoder = found == index_.end() ? -1 : found->second;
    if (encoder == -1) return;
    const auto& codec = reinterpret_cast<const gp::ImageCodecInfo*>(encoders_.data())[encoder];

    // The bitmap stays alive after the save: the exporter never releases it.
    gp::GpBitmap* bitmap = nullptr;
    auto status = flat::GdipCreateBitmapFromHBITMAP(pic.bitmap, pic.palette, &bitmap);
    if (status == gp::Ok) {
        auto path = widen(sFilename);
        if (std::toupper(static_cast<unsigned char>(extension.front())) != 'J') {
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
    static constexpr std::array<const char*, 20> kTexts = {"Generic Error",
                                                           "Invalid Parameter",
                                                           "Out Of Memory",
                                                           "Object Busy",
                                                           "Insufficient Buffer",
                                                           "Not Implemented",
                                                           "Win32 Error",
                                                           "Wrong State",
                                                           "Aborted",
                                                           "File Not Found",
                                                           "Value Overflow",
                                                           "Access Denied",
                                                           "Unknown Image Format",
                                                           "FontFamily Not Found",
                                                           "FontStyle Not Found",
                                                           "Not TrueType Font",
                                                           "Unsupported Gdiplus Version",
                                                           "Gdiplus Not Initialized",
                                                           "Property Not Found",
                                                           "Property Not Supported"};
    if (lGdiError < 1 || lGdiError > static_cast<long>(kTexts.size())) return "Unknown GDI+ Error";
    return kTexts[static_cast<std::size_t>(lGdiError - 1)];
}

void cGdiPlus::raise(long status) {
    long win32 = static_cast<long>(GetLastError());
    if (onError_) onError_(win32, status, GdiErrorString(status));
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
