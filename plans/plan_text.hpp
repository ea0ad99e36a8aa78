// The text layer of plan files: free-format items for the header, whole lines for the plan, and
// the normalisation that turns a plan line into fields. No files and no plan stores here.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace synthor {

// Reads a plan file's text front to back, item by item or line by line from where the last read
// stopped. Line ends are CR LF, CR or LF.
class PlanText {
  public:
    explicit PlanText(std::string_view text) : text_(text) {}

    bool atEnd() const { return pos_ >= text_.size(); }

    // The next free-format item: it ends at a comma or a line end (which is consumed), blanks
    // around it are dropped, and a quoted item loses its quotes (anything after the closing
    // quote up to the comma or line end is skipped). Nothing when the text is used up.
    std::optional<std::string> nextItem();

    // The next line without its line end; nothing when the text is used up.
    std::optional<std::string_view> nextLine();

  private:
    void consumeLineEnd();

    std::string_view text_;
    std::size_t pos_ = 0;
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
