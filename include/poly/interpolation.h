#pragma once
/// \file
/// Approximation of samples by a function of one variable.

#include <cstddef>

#include "../frame/api.h"
#include "polynome.h"

namespace SatCommonUtils {

/// An approximation y ≈ f(x) that is built from samples.
class ORBMATH_API TInterpolation {
 public:
  virtual ~TInterpolation();
  /// Builds the function.
  /// \param count number of samples.
  /// \param x, y `count` values each.
  virtual bool Build(std::size_t count, double* x, double* y) = 0;
  /// Releases what `Build` made.
  virtual void Destroy() = 0;
  /// The value at x. Const and safe from several threads.
  virtual double GetValue(double x) const = 0;

 protected:
  TInterpolation() = default;
  TInterpolation(const TInterpolation&) = default;
  TInterpolation& operator=(const TInterpolation&) = default;
};

/// A polynomial of fixed order, fitted by least squares.
///
/// The normal equations of the monomials, each row scaled, are solved by elimination. Their condition grows fast with
/// the order and with the distance of the x from 0: bring x into [-1, 1] first (`TLinearNormalization`) and carry the
/// result back with `LinearSubstitution` where more than a few digits matter.
class ORBMATH_API TLeastSquaresPolynomialApproximation : public TInterpolation {
 public:
  /// All coefficients zero.
  /// \throws const char* "TPolynome::TPolynome(int, const double*)" when `order` is below 0.
  explicit TLeastSquaresPolynomialApproximation(int order);

  /// Fits the coefficients.
  /// \param x, y `count` values each, which are only read.
  /// \return true.
  /// \throws double 0.0, the fitted polynomial unchanged, when there are too few distinct x for the order.
  bool Build(std::size_t count, double* x, double* y) override;
  /// Does nothing: the coefficients stay.
  void Destroy() override;
  /// The fitted polynomial at x; 0 before any `Build`.
  double GetValue(double x) const override;

  /// The fitted polynomial.
  const TPolynome& GetPolynome() const noexcept { return polynome_; }

 private:
  TPolynome polynome_;
};

}  // namespace SatCommonUtils
