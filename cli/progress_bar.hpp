// The calibration load's progress for a person at a terminal: one line on standard error,
// redrawn in place and cleared when the load ends.
#pragma once

#include <iosfwd>

namespace synthor::cli {

// True when standard error is a terminal (the bar is drawn only then, so scripts and traces
// stay byte-identical).
bool stderrIsTerminal();

class ProgressBar {
  public:
    explicit ProgressBar(std::ostream& out) : out_(out) {}
    // Draws the bar at `percent` (0 to 100); 100 clears the line.
    void draw(float percent);

  private:
    std::ostream& out_;
    int shown_ = -1;  // the whole percent last drawn
};

}  // namespace synthor::cli
