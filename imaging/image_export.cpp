#include "imaging/image_export.hpp"

#include <algorithm>
#include <array>
#include <cctype>

namespace synthor::imaging {
namespace {

std::string upper(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

constexpr std::array<std::string_view, 21> kStatusTexts = {
    "Unknown GDI+ Error",
    "Generic Error",
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
    "Property Not Supported",
};

}  // namespace

std::string fileExtension(std::string_view filename, std::string_view separators) {
    const auto dot = filename.rfind('.');
    if (dot == std::string_view::npos) return {};
    const std::string_view after = filename.substr(dot + 1);
    if (after.find_first_of(separators) != std::string_view::npos) return {};
    return std::string(after);
}

bool takesQuality(std::string_view extension) {
    return !extension.empty() && std::toupper(static_cast<unsigned char>(extension[0])) == 'J';
}

ExtensionIndex::ExtensionIndex(std::span<const EncoderInfo> encoders) {
    for (std::size_t n = 0; n < encoders.size(); ++n) {
        std::string_view list = encoders[n].extensions;
        while (!list.empty()) {
            const auto semi = list.find(';');
            const std::string_view piece = trim(list.substr(0, semi));
            list = semi == std::string_view::npos ? std::string_view{} : list.substr(semi + 1);
            if (piece.empty()) continue;
            std::string key = upper(piece);
            const bool known = std::any_of(keys_.begin(), keys_.end(),
                                           [&](const auto& entry) { return entry.first == key; });
            if (!known) keys_.emplace_back(std::move(key), static_cast<int>(n));
        }
    }
}

int ExtensionIndex::find(std::string_view extension) const {
    const std::string key = "*." + upper(extension);
    for (const auto& [pattern, encoder] : keys_) {
        if (pattern == key) return encoder;
    }
    return -1;
}

std::optional<SavePlan> planSave(const ExtensionIndex& index, std::string_view filename,
                                 long quality) {
    const std::string extension = fileExtension(filename);
    const int encoder = index.find(extension);
    if (encoder < 0) return std::nullopt;
    SavePlan plan{encoder, std::nullopt};
    if (takesQuality(extension)) plan.quality = quality;
    return plan;
}

std::string_view GdiErrorString(long status) {
    if (status < 1 || status >= static_cast<long>(kStatusTexts.size())) return kStatusTexts[0];
    return kStatusTexts[static_cast<std::size_t>(status)];
}

}  // namespace synthor::imaging
