#include "session/session.hpp"

namespace synthor {

Session::Session(d2xx::DriverTable driver, Prompts& p, Clock& c)
    : prompts(p), clock(c), link(std::move(driver), p, c), freqLevel(link, bands, cal) {
    // The off display lives in the panel model, so every front end gets it; loading the form
    // first runs its start-up when the panel has not been created yet.
    showOffDisplay = [this] {
        panel.load();
        panel::showOffDisplay(panel);
    };
}

}  // namespace synthor
