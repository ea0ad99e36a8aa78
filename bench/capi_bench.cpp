// The C interface's call by name: SetFrequency through synthor_call on the simulated
// instrument (variant arguments in, result text out, the session's lock), without a trace.
#include <benchmark/benchmark.h>

#include "synthor.h"

namespace {

void BM_CapiSetFrequency(benchmark::State& state) {
    synthor_options options{};
    options.driver = "sim";
    synthor_session* session = nullptr;
    synthor_open(&options, &session, nullptr);
    synthor_call(session, "FND", nullptr, 0, nullptr, nullptr);
    synthor_value args[2]{};
    args[0].type = SYNTHOR_DOUBLE;
    args[1].type = SYNTHOR_DOUBLE;
    args[1].number = -10;
    double mhz = 1000;
    for (auto _ : state) {
        args[0].number = mhz = mhz == 1000 ? 2400 : 1000;
        synthor_result result;
        synthor_call(session, "SetFrequency", args, 2, &result, nullptr);
        synthor_result_free(&result);
    }
    synthor_close(session);
}
BENCHMARK(BM_CapiSetFrequency);

}  // namespace
