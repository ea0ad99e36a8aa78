#include "runtime/clock.hpp"

#include <chrono>
#include <thread>

namespace synthor {

std::uint32_t SystemClock::timeGetTime() {
    using namespace std::chrono;
    const auto ms = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return static_cast<std::uint32_t>(ms);
}

void SystemClock::sleep(std::uint32_t ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

}  // namespace synthor
