// The wire trace: one line per driver call, in the order made, wrapped around any driver table.
//
//   FT_OpenEx "TEXT" FLAG = STATUS        FT_Write HEX = STATUS
//   FT_Read COUNT = STATUS : HEX          FT_SetFlowControl FLOW XON XOFF = STATUS   ...
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "link/d2xx.hpp"
#include "runtime/text.hpp"

namespace synthor {

// Receives each finished trace line (without its newline).
using TraceSink = std::function<void(const std::string& line)>;

// A sink writing lines to a stream, flushed per line so that a trace survives a crashed host.
TraceSink streamTraceSink(std::shared_ptr<std::ostream> out);

// Wraps every entry of `inner` so that each call is written to `sink` after it returns.
d2xx::DriverTable traced(d2xx::DriverTable inner, const TraceSink& sink);

}  // namespace synthor
