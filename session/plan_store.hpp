// The library's three plan stores (frequency, level and complex sweep) and the flags that go
// with them, one set per session, shared by the automation class, the panel and the sweeps.
#pragma once

#include <cstdint>
#include <vector>

namespace synthor {

// Points a plan store holds (indices 0..9000).
inline constexpr std::int32_t kPlanPoints = 9001;

struct FreqPlan {
    std::vector<double> FreqPlanHz = std::vector<double>(kPlanPoints);  // Hz
    std::int32_t FreqPlanCount = 0;
    std::int16_t FreqPlanValid = 0;  // 0 or -1
    float FreqPlanLevel = 0.0F;      // dBm, whole sweep
    std::int32_t FreqPlanDwell = 0;  // µs per point
};

struct LevelPlan {
    std::vector<float> LevelPlanDbm = std::vector<float>(kPlanPoints);
    std::int32_t LevelPlanCount = 0;
    std::int16_t LevelPlanValid = 0;
    std::int32_t LevelPlanDwell = 0;
    double LevelPlanFreqHz = 0.0;  // the sweep's fixed frequency
};

struct ComplexPlan {
    std::vector<float> ComplexPlanPhase = std::vector<float>(kPlanPoints);  // degrees
    std::vector<float> ComplexPlanDbm = std::vector<float>(kPlanPoints);
    std::int32_t ComplexPlanCount = 0;
    std::int16_t ComplexPlanValid = 0;
    std::int32_t ComplexPlanDwell = 0;
    double ComplexPlanFreqHz = 0.0;
};

struct PlanStores {
    FreqPlan freq;
    LevelPlan level;
    ComplexPlan complex;
    std::int16_t FreqPlanPresent = 0;     // a frequency plan was loaded for the panel's sweep
    std::int16_t ComplexPlanPresent = 0;  // a complex plan was read
    std::int16_t StepTrigger = 0;         // sweeps start in their stepped variant on a trigger
    bool triggerResetRunning = false;     // guards the trigger reset against its own option
};

}  // namespace synthor
