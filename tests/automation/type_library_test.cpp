// The type library's interface and the portable method table must agree: the same methods in
// the same order (dispatch identifiers follow it) with the same argument counts, and only the
// finding methods return 16-bit integers.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "automation/synthor_01_vexa.hpp"

namespace synthor {
namespace {

struct IdlMethod {
    std::string name;
    int inArgs = 0;
    int optionalArgs = 0;
    std::string resultType;
};

std::vector<IdlMethod> interfaceMethods(const std::string& idl) {
    std::vector<IdlMethod> methods;
    const std::regex method(R"(HRESULT\s+(\w+)\s*\(([^)]*)\))");
    for (std::sregex_iterator it(idl.begin(), idl.end(), method), end; it != end; ++it) {
        IdlMethod m{(*it)[1], 0, 0, ""};
        // Each parameter: "[attributes] TYPE name".
        const std::string params = (*it)[2];
        const std::regex param(R"(\[([^\]]*)\]\s*(\w+))");
        for (std::sregex_iterator p(params.begin(), params.end(), param); p != end; ++p) {
            const std::string attributes = (*p)[1];
            if (attributes.find("retval") != std::string::npos) {
                m.resultType = (*p)[2];
            } else {
                ++m.inArgs;
                m.optionalArgs += attributes.find("optional") != std::string::npos ? 1 : 0;
            }
        }
        methods.push_back(m);
    }
    return methods;
}

TEST(TypeLibrary, AgreesWithTheMethodTable) {
    std::ifstream file(SYNTHOR_IDL_FILE);
    ASSERT_TRUE(file) << SYNTHOR_IDL_FILE;
    std::stringstream text;
    text << file.rdbuf();
    const auto idl = interfaceMethods(text.str());
    const auto table = automationMethods();
    ASSERT_EQ(idl.size(), table.size());
    for (std::size_t i = 0; i < idl.size(); ++i) {
        SCOPED_TRACE(idl[i].name);
        EXPECT_EQ(idl[i].name, table[i].name);
        EXPECT_EQ(idl[i].inArgs, table[i].maxArgs);
        EXPECT_EQ(idl[i].inArgs - idl[i].optionalArgs, table[i].minArgs);
        const bool finds = idl[i].name == "FND" || idl[i].name == "FNDSN";
        EXPECT_EQ(idl[i].resultType, finds ? "short" : "BSTR");
    }
}

}  // namespace
}  // namespace synthor
