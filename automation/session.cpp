#include "automation/session.hpp"

namespace synthor {

Session::Session(d2xx::DriverTable driver, Prompts& p, Clock& c)
    : prompts(p), clock(c), link(std::move(driver), p, c), freqLevel(link, bands, cal) {}

}  // namespace synthor
