// The progress window `EEPROMdata` without a window: its caption, label, the bar's value (0 to
// 100) and whether it is shown. A calibration load advances the value; a front end draws the
// model and redraws it whenever `onChange` fires.
#pragma once

#include <functional>
#include <string_view>

#include "calibration/sig_gen_routines.hpp"

namespace synthor::panel {

class EepromData final : public CalibrationProgress {
  public:
    static constexpr std::string_view kCaption = "Initialising";
    static constexpr std::string_view kLabel = "Loading Data from ROM";

    void setValue(float value) override;
    float value() const { return value_; }

    void show();
    void hide();
    bool visible() const { return visible_; }

    // Called after every change of value or visibility.
    std::function<void()> onChange;

  private:
    void changed() const;

    float value_ = 0.0F;
    bool visible_ = false;
};

}  // namespace synthor::panel
