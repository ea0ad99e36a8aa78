// A session opened on the simulated instrument with its calibration loaded, the frames it writes
// recorded as hexadecimal, recording prompts, and a sandbox folder for plan files.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "automation/synthor_01_vexa.hpp"
#include "link/trace.hpp"
#include "plans/command_string.hpp"
#include "runtime/raised_by.hpp"
#include "session/session.hpp"
#include "sim/sim_instrument.hpp"
#include "support/fake_driver.hpp"
#include "support/sandbox.hpp"

namespace synthor::testing {

using Box = RecordingPrompts::Box;
using Frames = std::vector<std::string>;

class PlanTest : public ::testing::Test {
  protected:
    PlanTest()
        : session(traced(inst.driverTable(), [this](const std::string& l) { lines.push_back(l); }),
                  prompts, clock),
          object(session) {}

    void SetUp() override {
        ASSERT_EQ(object.FND(), 1234);
        lines.clear();
    }

    // Writes a plan file into the test's folder and returns its path.
    std::string file(const std::string& name, const std::string& content) {
        return sandbox.file(name, content);
    }

    // The frames written since the last call, as "57 02 01 FC 20 FF FF".
    Frames frames() {
        Frames out;
        for (const std::string& l : lines) {
            if (l.rfind("FT_Write ", 0) == 0) out.push_back(l.substr(9, l.rfind(" = ") - 9));
        }
        lines.clear();
        return out;
    }

    std::string sig(const char* command, std::vector<Variant> params = {}) {
        return SetSigGen(session, std::string(command), params);
    }
    const std::string& status(int panel) { return session.panel.status(panel); }
    const std::string& text(const char* box) { return session.panel.text(box); }

    sim::Instrument inst;
    RecordingPrompts prompts;
    FakeClock clock{1000, 1};
    std::vector<std::string> lines;
    Session session;
    Synthor_01_vexa object;
    Sandbox sandbox;
};

inline const char* kFreqSweepFile =
    "[FREQUENCYSWEEP]\r\n[LEVEL]\r\n0\r\n[DWELL]\r\n1000\r\n[PLAN]\r\n1 1000\r\n2, 1001\r\n3     "
    "1002\r\n";
inline const char* kLevelSweepFile =
    "[LEVELSWEEP]\r\n[FREQUENCY]\r\n2400\r\n[DWELL]\r\n500\r\n[PLAN]\r\n1 -10\r\n2 -9.5\r\n3 "
    "-9\r\n";
inline const char* kComplexSweepFile =
    "[COMPLEXSWEEP]\r\n[FREQUENCY]\r\n1000\r\n[DWELL]\r\n200\r\n[PLAN]\r\n1 0 -10\r\n2 90 -10\r\n3 "
    "180 -12\r\n";

}  // namespace synthor::testing
