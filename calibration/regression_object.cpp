#include "calibration/regression_object.hpp"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

#include "runtime/convert.hpp"
#include "runtime/errors.hpp"

namespace synthor {
namespace {

// Division and products as the host runtime does them: a zero divisor or a result beyond the
// double range is a fault, not an infinity.
struct SolveFault {};

double checkedValue(double v) {
    if (!std::isfinite(v)) throw SolveFault{};
    return v;
}

double divide(double a, double b) {
    if (b == 0.0) throw SolveFault{};
    return checkedValue(a / b);
}

}  // namespace

RegressionObject::RegressionObject() {
    init();
    degree_ = 2;
}

void RegressionObject::init() {
    for (double& s : S_)
        s = 0.0;
    for (double& t : T_)
        t = 0.0;
    for (double& c : C_)
        c = 0.0;
    solved_ = false;
}

void RegressionObject::Degree(std::int32_t value) {
    if (value < 0 || value > kMaxDegree) {
        raise(kErrInvalidDegree,
              std::to_string(value) +
                  " is an invalid property value! Use 0<= Degree <= " + std::to_string(kMaxDegree),
              "RegressionObject");
    }
    init();
    degree_ = value;
}

void RegressionObject::XYAdd(double x, double y) {
    S_[0] += 1.0;
    T_[0] += y;
    double p = 1.0;
    for (int k = 1; k <= degree_; ++k) {
        p *= x;
        S_[k] += p;
        T_[k] += p * y;
    }
    for (int k = degree_ + 1; k <= 2 * degree_; ++k) {
        p *= x;
        S_[k] += p;
    }
    solved_ = false;
}

std::int32_t RegressionObject::XYCount() const {
    return clng(S_[0]);
}

double RegressionObject::Coeff(std::int32_t index) {
    if (!solved_) solve();
    if (index == std::numeric_limits<std::int32_t>::min())
        raise(errnum::Overflow);  // its absolute value has no 32-bit form
    const std::int32_t k = std::abs(index);
    return k <= workingDegree_ ? C_[k] : 0.0;
}

double RegressionObject::RegVal(double x) {
    if (!solved_) solve();
    double sum = 0.0;
    for (int k = 0; k <= workingDegree_; ++k)
        sum += C_[k] * std::pow(x, k);
    return sum;
}

void RegressionObject::buildMatrix(int d) {
    for (int i = 0; i <= d; ++i) {
        for (int j = 0; j <= d; ++j)
            M_[i][j] = S_[i + j];
        M_[i][d + 1] = T_[i];
    }
}

// Gauss elimination with partial pivoting and back substitution. A coefficient is stored only
// once its division succeeded, so a fault leaves the lower ones as they were.
bool RegressionObject::tryEliminate(int d) {
    try {
        for (int c = 0; c <= d; ++c) {
            int pivot = c;
            for (int r = c + 1; r <= d; ++r) {
                if (std::fabs(M_[r][c]) > std::fabs(M_[pivot][c])) pivot = r;
            }
            if (pivot != c) {
                for (int j = c; j <= d + 1; ++j)
                    std::swap(M_[pivot][j], M_[c][j]);
            }
            for (int row = c + 1; row <= d; ++row) {
                const double factor = divide(M_[row][c], M_[c][c]);
                M_[row][c] = 0.0;
                for (int j = c + 1; j <= d + 1; ++j) {
                    M_[row][j] = checkedValue(M_[row][j] - factor * M_[c][j]);
                }
            }
        }
        for (int k = d; k >= 0; --k) {
            double sum = M_[k][d + 1];
            for (int j = k + 1; j <= d; ++j)
                sum = checkedValue(sum - M_[k][j] * C_[j]);
            C_[k] = divide(sum, M_[k][k]);
        }
        return true;
    } catch (const SolveFault&) {
        return false;
    }
}

void RegressionObject::solve() {
    int d = degree_;
    const std::int32_t count = XYCount();
    if (count <= d) d = count - 1;
    workingDegree_ = d;
    if (d < 0) return;
    buildMatrix(d);
    while (!tryEliminate(d)) {
        // A singular fit of degree 2 or more is retried one degree lower. The whole matrix is
        // rebuilt for the lower degree, so no entry of the failed pass is left behind.
        if (d < 2) return;
        C_[0] = 0.0;
        --d;
        workingDegree_ = d;
        buildMatrix(d);
    }
    solved_ = true;
}

}  // namespace synthor
