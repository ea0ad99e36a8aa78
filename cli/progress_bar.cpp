#include "cli/progress_bar.hpp"

#include <cstdio>
#include <ostream>
#include <string>

#include "panel/eeprom_data.hpp"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace synthor::cli {
namespace {

constexpr int kWidth = 40;

}  // namespace

bool stderrIsTerminal() {
#ifdef _WIN32
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

void ProgressBar::draw(float percent) {
    const int whole = percent < 0 ? 0 : percent > 100 ? 100 : static_cast<int>(percent);
    if (whole == shown_) return;
    shown_ = whole;
    if (whole >= 100) {
        out_ << '\r' << std::string(kWidth + 32, ' ') << '\r' << std::flush;
        shown_ = -1;
        return;
    }
    const int filled = whole * kWidth / 100;
    out_ << '\r' << panel::EepromData::kLabel << " ["
         << std::string(static_cast<std::size_t>(filled), '#')
         << std::string(static_cast<std::size_t>(kWidth - filled), '.') << "] " << whole << '%'
         << std::flush;
}

}  // namespace synthor::cli
