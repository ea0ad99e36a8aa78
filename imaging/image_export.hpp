// Saving a picture to an image file, the decisions that do not depend on the image library: which
// encoder a file name asks for (by its extension, through an index of the encoders' extension
// patterns), whether the JPEG quality goes along, and the texts of the encoder statuses. The GDI+
// backend (Windows) and the Qt backend (Linux) both save through these.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace synthor::imaging {

// What ends an extension: a "." followed by one of these is no extension ("C:\out.dir\picture").
#ifdef _WIN32
inline constexpr std::string_view kPathSeparators = "\\";
#else
inline constexpr std::string_view kPathSeparators = "\\/";
#endif

// The text after the last "." of a file name, provided no path separator follows that "."; empty
// otherwise.
std::string fileExtension(std::string_view filename, std::string_view separators = kPathSeparators);

// True when a save to that extension carries the quality parameter: its first letter, upper-cased,
// is "J" (".jpg", ".jpeg", ".JFIF" and any other J extension).
bool takesQuality(std::string_view extension);

// One encoder as the image library describes it: its extension patterns, separated by ";", each
// of the form "*.EXT" (for example "*.JPG;*.JPEG;*.JPE;*.JFIF").
struct EncoderInfo {
    std::string id;  // the library's own name or class identifier of the encoder
    std::string extensions;
};

// Maps each extension pattern to the number of its encoder (0-based position in the list).
// Patterns are compared case-insensitively; a pattern listed twice keeps its first encoder.
class ExtensionIndex {
  public:
    ExtensionIndex() = default;
    explicit ExtensionIndex(std::span<const EncoderInfo> encoders);

    // The encoder for "*." + extension; -1 when there is none.
    int find(std::string_view extension) const;
    bool empty() const { return keys_.empty(); }

  private:
    std::vector<std::pair<std::string, int>> keys_;  // upper-cased pattern, encoder
};

// What a save does with a file name: nothing (no encoder for its extension), or write with that
// encoder, with the quality for a "J" extension.
struct SavePlan {
    int encoder = -1;
    std::optional<long> quality;
};
std::optional<SavePlan> planSave(const ExtensionIndex& index, std::string_view filename,
                                 long quality);

// The text of an encoder status, 1 to 20; "Unknown GDI+ Error" for any other.
std::string_view GdiErrorString(long status);

// The `Error` event: the failing call's status, the same status as the library reported it, and
// its text.
using ErrorHandler = std::function<void(long error, long gdiError, const std::string& description)>;

}  // namespace synthor::imaging
