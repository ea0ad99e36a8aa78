#include "panel/eeprom_data.hpp"

namespace synthor::panel {

void EepromData::setValue(float value) {
    value_ = value;
    changed();
}

void EepromData::show() {
    visible_ = true;
    changed();
}

void EepromData::hide() {
    visible_ = false;
    changed();
}

void EepromData::changed() const {
    if (onChange) onChange();
}

}  // namespace synthor::panel
