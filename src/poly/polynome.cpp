// Elementary algebra of polynomials. The object may lie at any multiple of four bytes: members are read and written,
// and never bound to a reference.

#include "poly/polynome.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "linalg/raw_arrays.h"

namespace SatCommonUtils {

TPolynome::TPolynome(int order, const double* coefs) {
  if (order < 0) throw "TPolynome::TPolynome(int, const double*)";
  Initialize(order, coefs);
}

TPolynome::TPolynome(const TVector& src) {
  if (!src) throw "TPolynome::TPolynome(const TVector& src)";
  Initialize(static_cast<int>(src.GetSize()) - 1, src.GetData());
}

TPolynome::TPolynome(const std::vector<double>& src) {
  if (!Initialize(src, true)) throw "TPolynome::TPolynome(const vector<double>& src)";
}

// The invalid one first: from there on the destructor frees what a failure half-way leaves.
TPolynome::TPolynome(const std::string& text) : TPolynome() { Initialize(text); }

TPolynome::TPolynome(const TPolynome& other) { *this = other; }

TPolynome::TPolynome(TPolynome&& other) noexcept { *this = static_cast<TPolynome&&>(other); }

TPolynome::~TPolynome() { Invalidate(); }

TPolynome& TPolynome::operator=(const TPolynome& other) {
  if (this == &other) return *this;
  if (!other) {
    Invalidate();
    return *this;
  }
  if (order_ != other.order_) Reset(other.order_);
  std::copy(other.coefs_, other.coefs_ + other.Count(), coefs_);
  return *this;
}

TPolynome& TPolynome::operator=(TPolynome&& other) noexcept {
  if (this == &other) return *this;
  Invalidate();
  order_ = other.order_;
  coefs_ = other.coefs_;
  other.order_ = -1;
  other.coefs_ = nullptr;
  return *this;
}

void TPolynome::Reset(int new_order) {
  if (new_order < 0) throw "void TPolynome::Reset(int new_order)";
  double* const zeros = CreateVector(static_cast<std::size_t>(new_order) + 1);
  Invalidate();
  coefs_ = zeros;
  order_ = new_order;
}

bool TPolynome::Initialize(int order, const double* coefs) {
  Reset(order);
  if (coefs != nullptr) std::copy(coefs, coefs + Count(), coefs_);
  return true;
}

bool TPolynome::Initialize(const std::vector<double>& src, bool reverse) {
  Invalidate();
  if (src.empty()) return false;
  Reset(static_cast<int>(src.size()) - 1);
  if (reverse) {
    std::reverse_copy(src.begin(), src.end(), coefs_);
  } else {
    std::copy(src.begin(), src.end(), coefs_);
  }
  return true;
}

void TPolynome::Invalidate() noexcept {
  ReleaseVector(coefs_);
  coefs_ = nullptr;
  order_ = -1;
}

int TPolynome::GetCoefs(double* dst, int capacity) const {
  if (capacity < Count()) return 0;
  std::copy(coefs_, coefs_ + Count(), dst);
  return Count();
}

double* TPolynome::GetCoefs(int& count) const {
  count = Count();
  if (count == 0) return nullptr;
  double* const copy = CreateVector(static_cast<std::size_t>(count));
  std::copy(coefs_, coefs_ + count, copy);
  return copy;
}

double TPolynome::GetValue(double x) const {
  double value = 0.0;
  double power = 1.0;
  for (int k = 0; k <= order_; ++k) {
    value += coefs_[k] * power;
    power *= x;
  }
  return value;
}

TPolynome TPolynome::Derivative() const {
  TPolynome derivative(std::max(order_ - 1, 0));
  for (int k = 1; k <= order_; ++k) derivative.coefs_[k - 1] = k * coefs_[k];
  return derivative;
}

bool TPolynome::ApproximatelyEqual(const TPolynome& other, const double& tolerance) const {
  const int common = std::min(Count(), other.Count());
  for (int k = 0; k < common; ++k) {
    if (!(std::fabs(coefs_[k] - other.coefs_[k]) < tolerance)) return false;
  }
  const TPolynome& longer = order_ > other.order_ ? *this : other;
  for (int k = common; k < longer.Count(); ++k) {
    if (!(std::fabs(longer.coefs_[k]) < tolerance)) return false;
  }
  return true;
}

void TPolynome::ExtendTo(int order) {
  if (order_ >= order) return;
  TPolynome longer(order);
  std::copy(coefs_, coefs_ + Count(), longer.coefs_);
  *this = static_cast<TPolynome&&>(longer);
}

TPolynome& TPolynome::operator+=(const TPolynome& other) {
  ExtendTo(other.order_);
  for (int k = 0; k <= other.order_; ++k) coefs_[k] += other.coefs_[k];
  return *this;
}

TPolynome& TPolynome::operator-=(const TPolynome& other) {
  ExtendTo(other.order_);
  for (int k = 0; k <= other.order_; ++k) coefs_[k] -= other.coefs_[k];
  return *this;
}

TPolynome& TPolynome::operator*=(double factor) {
  for (int k = 0; k <= order_; ++k) coefs_[k] *= factor;
  return *this;
}

TPolynome& TPolynome::operator/=(double divisor) {
  for (int k = 0; k <= order_; ++k) coefs_[k] /= divisor;
  return *this;
}

TPolynome TPolynome::operator-() const {
  TPolynome negative(*this);
  negative *= -1.0;
  return negative;
}

bool TPolynome::IsNull() const {
  return std::all_of(coefs_, coefs_ + Count(), [](double c) { return c == 0.0; });
}

void TPolynome::Optimize() {
  int order = order_;
  while (order > 0 && coefs_[order] == 0.0) --order;
  if (order != order_) *this = TPolynome(order, coefs_);
}

bool operator==(const TPolynome& a, const TPolynome& b) {
  return a.order_ == b.order_ && std::equal(a.coefs_, a.coefs_ + a.Count(), b.coefs_);
}

bool operator!=(const TPolynome& a, const TPolynome& b) { return !(a == b); }

namespace {

/// n! modulo 2³², read as a signed number.
double WrappedFactorial(int n) {
  std::uint32_t factorial = 1;
  for (int i = 2; i <= n; ++i) factorial *= static_cast<std::uint32_t>(i);
  return static_cast<double>(static_cast<std::int32_t>(factorial));
}

}  // namespace

void LinearSubstitution(TPolynome* p, double a, double b, TPolynome* q) {
  if (!*p) {
    q->Invalidate();
    return;
  }
  const int order = p->GetOrder();
  std::vector<double> from(static_cast<std::size_t>(order) + 1);
  p->GetCoefs(from.data(), order + 1);
  std::vector<double> to(from.size(), 0.0);
  std::vector<double> powers_of_b(from.size(), 1.0);
  for (std::size_t i = 1; i < powers_of_b.size(); ++i) powers_of_b[i] = powers_of_b[i - 1] * b;
  for (int i = 0; i <= order; ++i) {
    for (int k = 0; k <= i; ++k) {
      const double binomial = WrappedFactorial(i) / (WrappedFactorial(k) * WrappedFactorial(i - k));
      to[k] += binomial * from[i] * powers_of_b[i - k];
    }
  }
  double power_of_a = 1.0;
  for (double& coefficient : to) {
    coefficient *= power_of_a;
    power_of_a *= a;
  }
  q->Initialize(to, false);
}

}  // namespace SatCommonUtils
