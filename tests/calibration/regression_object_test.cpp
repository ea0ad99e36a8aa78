// RegressionObject: least-squares fits, the working degree, singular systems and the degree
// property's error.
#include <gtest/gtest.h>

#include <vector>

#include "calibration/regression_object.hpp"
#include "runtime/errors.hpp"

namespace synthor {
namespace {

struct FitCase {
    const char* name;
    std::int32_t degree;
    std::vector<std::pair<double, double>> points;
    std::vector<double> coefficients;  // C[0], C[1], ... up to C[4]
};

TEST(RegressionObject, FitsAndWorkingDegree) {
    const FitCase cases[] = {
        {"straight line through three points", 1, {{1, -10}, {2, -8}, {3, -6}}, {-12, 2, 0, 0, 0}},
        {"least squares, not interpolation",
         1,
         {{1, -5}, {2, -6}, {3, -8}},
         {-10.0 / 3, -1.5, 0, 0, 0}},
        {"two points under degree 2 give their line", 2, {{1, 1}, {3, 5}}, {-1, 2, 0, 0, 0}},
        {"one point gives a constant", 2, {{4, 7}}, {7, 0, 0, 0, 0}},
        {"exact parabola", 2, {{0, 1}, {1, 2}, {2, 5}, {3, 10}}, {1, 0, 1, 0, 0}},
        {"degree 0 is the mean", 0, {{1, 2}, {5, 4}, {9, 9}}, {5, 0, 0, 0, 0}},
        {"quartic through five points",
         4,
         {{-2, 16}, {-1, 1}, {0, 0}, {1, 1}, {2, 16}},
         {0, 0, 0, 0, 1}},
        {"no points: every coefficient is 0", 2, {}, {0, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        RegressionObject r;
        r.Degree(c.degree);
        for (const auto& [x, y] : c.points)
            r.XYAdd(x, y);
        EXPECT_EQ(r.XYCount(), static_cast<std::int32_t>(c.points.size())) << c.name;
        for (int k = 0; k < 5; ++k)
            EXPECT_NEAR(r.Coeff(k), c.coefficients[k], 1e-9) << c.name << " C" << k;
    }
}

TEST(RegressionObject, ReadsRefitAfterNewPointsAndANewDegreeDiscardsThem) {
    RegressionObject r;
    EXPECT_EQ(r.Degree(), 2);
    r.Degree(1);
    r.XYAdd(0, 0);
    r.XYAdd(1, 1);
    EXPECT_DOUBLE_EQ(r.Coeff(1), 1);
    r.XYAdd(2, 4);
    EXPECT_DOUBLE_EQ(r.Coeff(-1), 2);  // the index's absolute value
    EXPECT_EQ(r.Coeff(7), 0);
    EXPECT_NEAR(r.RegVal(3), 17.0 / 3, 1e-9);  // -1/3 + 2x
    EXPECT_NEAR(r.RegVal(0), -1.0 / 3, 1e-9);  // 0^0 counts as 1
    r.Degree(1);
    EXPECT_EQ(r.XYCount(), 0);
    EXPECT_EQ(r.Coeff(0), 0);
    EXPECT_EQ(r.RegVal(3), 0);
}

// A straight line through points that share one x cannot be solved; the coefficients stay as
// the last good fit left them and no error reaches the caller.
TEST(RegressionObject, SingularLineKeepsTheEarlierCoefficients) {
    RegressionObject r;
    r.Degree(1);
    r.XYAdd(2, 5);
    EXPECT_DOUBLE_EQ(r.Coeff(0), 5);  // one point: a constant
    r.XYAdd(2, 7);
    EXPECT_DOUBLE_EQ(r.Coeff(0), 5);  // not the mean, 6
    EXPECT_DOUBLE_EQ(r.Coeff(1), 0);
    EXPECT_DOUBLE_EQ(r.RegVal(10), 5);
}

// A singular parabola is retried as a straight line.
TEST(RegressionObject, SingularParabolaFallsBackToALine) {
    RegressionObject r;
    r.XYAdd(0, 1);
    r.XYAdd(0, 3);
    r.XYAdd(2, 5);
    EXPECT_DOUBLE_EQ(r.Coeff(0), 2);
    EXPECT_DOUBLE_EQ(r.Coeff(1), 1.5);
    EXPECT_DOUBLE_EQ(r.Coeff(2), 0);
    EXPECT_DOUBLE_EQ(r.RegVal(2), 5);
}

TEST(RegressionObject, DegreeOutsideZeroToFourRaises6000AndChangesNothing) {
    const std::pair<std::int32_t, const char*> cases[] = {
        {5, "5 is an invalid property value! Use 0<= Degree <= 4"},
        {7, "7 is an invalid property value! Use 0<= Degree <= 4"},
        {-1, "-1 is an invalid property value! Use 0<= Degree <= 4"},
    };
    for (const auto& [value, description] : cases) {
        RegressionObject r;
        r.Degree(1);
        r.XYAdd(1, 1);
        r.XYAdd(2, 3);
        try {
            r.Degree(value);
            FAIL() << "nothing raised for " << value;
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), 6000);
            EXPECT_EQ(e.source(), "RegressionObject");
            EXPECT_EQ(e.description(), description);
        }
        EXPECT_EQ(r.Degree(), 1);
        EXPECT_EQ(r.XYCount(), 2);
        EXPECT_DOUBLE_EQ(r.Coeff(1), 2);
    }
}

}  // namespace
}  // namespace synthor
