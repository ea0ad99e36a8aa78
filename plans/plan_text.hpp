// The text layer of plan files: free-format items for the header, whole lines for the plan, and
// the normalisation that turns a plan line into fields. No files and no plan stores here.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/bounded_input.hpp"

namespace synthor {

// The longest header item and the longest plan line a reader takes, in bytes (blanks and quotes
// included); a longer one ends the read as an input error.
inline constexpr std::size_t kMaxPlanItem = 4096;
inline constexpr std::size_t kMaxPlanLine = 4096;

// Reads a plan file's text front to back, item by item or line by line from where the last read
// stopped. Line ends are CR LF, CR or LF.
class PlanText {
  public:
    explicit PlanText(ByteSource& source) : in_(source) {}
    explicit PlanText(std::string_view text) : owned_(textSource(text)), in_(*owned_) {}

    bool atEnd() { return in_.peek() < 0; }
    // True once an item or a line was too long or the input could not be read; the text then
    // gives nothing more.
    bool failed() const { return failed_ || in_.failed(); }

    // The next free-format item: it ends at a comma or a line end (which is consumed), blanks
    // around it are dropped, and a quoted item loses its quotes (anything after the closing
    // quote up to the comma or line end is skipped). Nothing when the text is used up.
    std::optional<std::string> nextItem();

    // The next line without its line end; nothing when the text is used up.
    std::optional<std::string> nextLine();

  private:
    std::unique_ptr<ByteSource> owned_;
    BoundedReader in_;
    bool failed_ = false;
};

// Every occurrence of `from` replaced by `to`, left to right, without overlaps.
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);

// A plan line made ready for splitting: commas become blanks, blank runs are collapsed by
// replacing runs of 5, then 4, 3 and 2 blanks with one, the remaining blanks become commas, and
// the literal text "Chr$(9)" becomes a comma. A tab is not a separator and stays in the line.
// Runs of up to 38 blanks become one separator; longer ones leave more than one.
std::string normalisePlanLine(std::string_view line);

// The normalised line split at commas; fields are numbered from 0.
std::vector<std::string_view> splitFields(std::string_view normalised);

}  // namespace synthor
