// The millisecond clock behind the link's delay, injectable so tests control time.
#pragma once

#include <cstdint>

namespace synthor {

class Clock {
  public:
    virtual ~Clock() = default;
    // Milliseconds since an arbitrary origin, wrapping at 2^32 like the system's multimedia timer.
    virtual std::uint32_t timeGetTime() = 0;
    // Gives up the processor for about `ms` milliseconds; a fake clock advances instead.
    virtual void sleep(std::uint32_t ms) = 0;
};

// The system's monotonic clock.
class SystemClock final : public Clock {
  public:
    std::uint32_t timeGetTime() override;
    void sleep(std::uint32_t ms) override;
};

}  // namespace synthor
