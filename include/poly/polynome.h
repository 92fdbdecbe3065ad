#pragma once
/// \file
/// Polynomials in one variable.

#include <string>
#include <vector>

#include "../frame/api.h"
#include "../linalg/vector.h"

namespace SatCommonUtils {

class TStringTree;
class TZxXIniReader;
class TZxXIniWriter;

#pragma pack(push, 4)

/// A polynomial c0 + c1 x + c2 x² + ... with double coefficients, such as an attitude angle over time.
///
/// **Which coefficient comes first.** Whatever takes or gives an array of doubles, a `TVector`, a string tree or XML
/// counts from the *lowest* power; a text and a `std::vector` list the *highest* power first, as on paper. So the text
/// "(1;2;3)" and the vector {1, 2, 3} are x² + 2x + 3, while the array {1, 2, 3} is 3x² + 2x + 1.
///
/// An invalid polynomial has order -1 and no coefficients; it counts as zero. The record is packed to 4 bytes: order,
/// then the pointer. A value type with deep copies; const operations are safe from several threads. Constructors that
/// throw a text throw a bare `const char*`.
class ORBMATH_API TPolynome {
 public:
  /// Invalid.
  TPolynome() noexcept = default;
  /// \param coefs order + 1 values, lowest power first; null leaves all of them 0.
  /// \throws const char* "TPolynome::TPolynome(int, const double*)" when `order` is below 0.
  explicit TPolynome(int order, const double* coefs = nullptr);
  /// \param src lowest power first.
  /// \throws const char* "TPolynome::TPolynome(const TVector& src)" when it is empty.
  explicit TPolynome(const TVector& src);
  /// \param src highest power first.
  /// \throws const char* "TPolynome::TPolynome(const vector<double>& src)" when it is empty.
  explicit TPolynome(const std::vector<double>& src);
  /// Reads the numbers of a text such as "(1;2;3)", highest power first. The characters ( ) ; , separate tokens; one
  /// that does not begin with a number is skipped. A text without numbers, or with a token of 128 or more characters,
  /// gives order 0 with a coefficient of 0.
  explicit TPolynome(const std::string& text);
  /// \param src coefficient k is the double at index k under `tag`, as many as there are fields.
  /// \throws const char* "TPolynome::TPolynome(TStringTree *src, int tag)" when one cannot be read or there is none, or
  /// no tree.
  TPolynome(TStringTree* src, int tag);
  TPolynome(const TPolynome& other);
  /// The source is invalid afterwards.
  TPolynome(TPolynome&& other) noexcept;
  ~TPolynome();

  TPolynome& operator=(const TPolynome& other);
  /// The source is invalid afterwards.
  TPolynome& operator=(TPolynome&& other) noexcept;

  /// True unless it is invalid.
  explicit operator bool() const noexcept { return order_ >= 0 && coefs_ != nullptr; }

  /// Becomes `new_order + 1` zeros.
  /// \throws const char* "void TPolynome::Reset(int new_order)" when `new_order` is below 0; nothing changes then.
  void Reset(int new_order);
  /// `Reset(order)`, then copies when `coefs` (lowest power first) is not null.
  /// \return true.
  bool Initialize(int order, const double* coefs);
  /// \param reverse true when `src` lists the highest power first, false when the lowest.
  /// \return whether it is valid afterwards: false, and invalid, when `src` is empty.
  bool Initialize(const std::vector<double>& src, bool reverse);
  /// As the constructor from a text.
  /// \return whether there was a number.
  bool Initialize(const std::string& text);
  /// Becomes invalid.
  void Invalidate() noexcept;

  /// The degree; -1 when invalid.
  int GetOrder() const noexcept { return order_; }
  /// Copies the coefficients, lowest power first.
  /// \param capacity room of `dst`.
  /// \return order + 1; 0, with nothing copied, when `capacity` is smaller.
  int GetCoefs(double* dst, int capacity) const;
  /// A new array of the coefficients, lowest power first, which the caller owns; `ReleaseVector` frees it. Null when
  /// invalid.
  /// \param count receives order + 1.
  double* GetCoefs(int& count) const;
  /// "(c2;c1;c0)", highest power first, each as printed by "%.20lg": reading it back restores every coefficient. "()"
  /// when invalid.
  std::string GetCoefsString() const;

  /// The value at x: powers by repeated multiplication from 1, terms summed from the constant up; 0 when invalid.
  double GetValue(double x) const;
  /// The derivative; of a constant and of an invalid polynomial the zero polynomial of order 0.
  TPolynome Derivative() const;

  /// For powers that both have |difference| < tolerance, for those of the longer one |coefficient| < tolerance.
  bool ApproximatelyEqual(const TPolynome& other, const double& tolerance) const;

  /// Coefficient by coefficient; the order grows to that of `other` when that is higher, and never falls.
  TPolynome& operator+=(const TPolynome& other);
  /// Subtracts coefficient by coefficient; the order never falls.
  TPolynome& operator-=(const TPolynome& other);
  /// Every coefficient.
  TPolynome& operator*=(double factor);
  /// Divides every coefficient, a true division; zero is not tested for.
  TPolynome& operator/=(double divisor);
  /// A copy multiplied by -1.0.
  TPolynome operator-() const;

  /// True when invalid or every coefficient is 0.0 (of either sign); a NaN makes it false.
  bool IsNull() const;
  /// Drops the highest coefficients that are exactly 0, down to order 0 at most.
  void Optimize();

  /// Writes the section `key`: "PolynomeOrder" and the section "PolynomeCoefs" with coefficient k, lowest power first,
  /// under the key k.
  /// \return false when it is invalid (nothing is written) or the writer could not write.
  bool SaveToXML(TZxXIniWriter* writer, std::string key) const;
  /// Reads what `SaveToXML` wrote. The stored coefficients are counted before memory is taken for the stated order.
  /// \return false, the polynomial untouched, when a section, the order or a coefficient is missing or not readable.
  /// \throws const char* as `Reset` when the order is below 0; the polynomial is untouched and the reader in the
  /// section where it was.
  bool InitializeFromXML(TZxXIniReader* reader, std::string key);
  /// Puts coefficient k at index k under `tag`, with `key` and k (in decimal) joined as its key.
  /// \param dst a null tree takes nothing.
  /// \return false at the first one that cannot be inserted.
  bool WriteToTree(TStringTree* dst, int tag, std::string key) const;

  /// Equal orders and exactly equal coefficients.
  friend ORBMATH_API bool operator==(const TPolynome& a, const TPolynome& b);
  friend ORBMATH_API bool operator!=(const TPolynome& a, const TPolynome& b);

 private:
  int Count() const noexcept { return order_ + 1; }
  void ExtendTo(int order);

  int order_ = -1;
  double* coefs_ = nullptr;
};

#pragma pack(pop)

/// q(t) = p(a t + b): carries a polynomial fitted in a normalised variable back to the real one.
///
/// The binomial coefficients come from factorials in 32-bit signed arithmetic, which wraps around past 12! (the result
/// is exact up to order 12). From order 13 on coefficients are wrong by that wrapping; from 34! on a wrapped factorial
/// is 0, and coefficients become infinities or NaN.
/// \param p, q not null; may be the same. An invalid `p` makes `q` invalid.
ORBMATH_API void LinearSubstitution(TPolynome* p, double a, double b, TPolynome* q);

}  // namespace SatCommonUtils
