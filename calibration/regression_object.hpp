// `RegressionObject`: a least-squares polynomial of degree 0 to 4 fitted to points added one at a
// time. Only running power sums are kept, so adding a point costs the same however many came
// before; the fit is solved on the first read after a change.
#pragma once

#include <cstdint>

namespace synthor {

class RegressionObject {
  public:
    static constexpr std::int32_t kMaxDegree = 4;
    static constexpr int kErrInvalidDegree = 6000;

    // No points, degree 2.
    RegressionObject();

    // Discards every point and coefficient; the degree is kept.
    void init();

    std::int32_t Degree() const { return degree_; }
    // Sets the degree and discards every point. Outside 0..4 raises error 6000 (source
    // "RegressionObject") and changes nothing.
    void Degree(std::int32_t value);

    void XYAdd(double x, double y);
    // The number of points, rounded to a 32-bit integer.
    std::int32_t XYCount() const;

    // Coefficient of x^|index| of the fit, 0 above the working degree. The working degree is the
    // degree, lowered to one less than the number of points, and lowered further when a fit of
    // degree 2 or more turns out singular. A singular straight line leaves the coefficients as
    // they were and the fit unsolved.
    double Coeff(std::int32_t index);
    // The fitted polynomial at x (0 with no points).
    double RegVal(double x);

  private:
    void solve();
    void buildMatrix(int d);
    bool tryEliminate(int d);

    std::int32_t degree_ = 2;
    bool solved_ = false;
    int workingDegree_ = -1;
    double S_[2 * kMaxDegree + 1] = {};
    double T_[kMaxDegree + 1] = {};
    double C_[kMaxDegree + 1] = {};
    double M_[kMaxDegree + 1][kMaxDegree + 2] = {};
};

}  // namespace synthor
