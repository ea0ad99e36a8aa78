#include "link/trace.hpp"

#include <algorithm>
#include <string>

namespace synthor {
namespace {

std::string status(d2xx::Status s) {
    return " = " + std::to_string(s);
}

// A text in double quotes with its quotes, backslashes and control bytes escaped (\", \\, \n,
// \r, \t, \xHH), so that whatever a host passes, one driver call stays one trace line.
std::string quotedText(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        const auto b = static_cast<std::uint8_t>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (b < 0x20 || b == 0x7F) {
            out += "\\x" + hexByte(b);
        } else {
            out += c;
        }
    }
    return out + "\"";
}

}  // namespace

TraceSink streamTraceSink(std::shared_ptr<std::ostream> out) {
    return [out = std::move(out)](const std::string& line) { *out << line << '\n' << std::flush; };
}

d2xx::DriverTable traced(d2xx::DriverTable inner, const TraceSink& sink) {
    using d2xx::Handle;
    using d2xx::Status;
    auto in = std::make_shared<d2xx::DriverTable>(std::move(inner));
    d2xx::DriverTable t;
    t.listDevices = in->listDevices;
    t.openEx = [in, sink](const char* arg, std::uint32_t flags, Handle* h) {
        const Status s = in->openEx(arg, flags, h);
        sink("FT_OpenEx " + quotedText(arg ? arg : "") + " " + std::to_string(flags) + status(s));
        return s;
    };
    t.close = [in, sink](Handle h) {
        const Status s = in->close(h);
        sink("FT_Close" + status(s));
        return s;
    };
    t.cyclePort = [in, sink](Handle h) {
        const Status s = in->cyclePort(h);
        sink("FT_CyclePort" + status(s));
        return s;
    };
    t.setTimeouts = [in, sink](Handle h, std::uint32_t rd, std::uint32_t wr) {
        const Status s = in->setTimeouts(h, rd, wr);
        sink("FT_SetTimeouts " + std::to_string(rd) + " " + std::to_string(wr) + status(s));
        return s;
    };
    t.setUsbParameters = [in, sink](Handle h, std::uint32_t inSize, std::uint32_t outSize) {
        const Status s = in->setUsbParameters(h, inSize, outSize);
        sink("FT_SetUSBParameters " + std::to_string(inSize) + " " + std::to_string(outSize) +
             status(s));
        return s;
    };
    t.setLatencyTimer = [in, sink](Handle h, std::uint8_t ms) {
        const Status s = in->setLatencyTimer(h, ms);
        sink("FT_SetLatencyTimer " + std::to_string(ms) + status(s));
        return s;
    };
    t.setFlowControl = [in, sink](Handle h, std::uint16_t flow, std::uint8_t xon,
                                  std::uint8_t xoff) {
        const Status s = in->setFlowControl(h, flow, xon, xoff);
        sink("FT_SetFlowControl " + std::to_string(flow) + " " + std::to_string(xon) + " " +
             std::to_string(xoff) + status(s));
        return s;
    };
    t.write = [in, sink](Handle h, const void* data, std::uint32_t count, std::uint32_t* written) {
        const Status s = in->write(h, data, count, written);
        const std::string hex = hexBytes({static_cast<const char*>(data), count});
        sink("FT_Write" + (hex.empty() ? "" : " " + hex) + status(s));
        return s;
    };
    t.read = [in, sink](Handle h, void* data, std::uint32_t count, std::uint32_t* received) {
        const Status s = in->read(h, data, count, received);
        const std::uint32_t n =
            (s == d2xx::Ok || s == d2xx::IoError) && received ? std::min(*received, count) : 0;
        const std::string hex = hexBytes({static_cast<const char*>(data), n});
        sink("FT_Read " + std::to_string(count) + status(s) + " :" +
             (hex.empty() ? "" : " " + hex));
        return s;
    };
    t.purge = [in, sink](Handle h, std::uint32_t mask) {
        const Status s = in->purge(h, mask);
        sink("FT_Purge " + std::to_string(mask) + status(s));
        return s;
    };
    return t;
}

}  // namespace synthor
