// Quotients of linear forms; elementary. Multiplied out they are linear in the ground coordinates, which is how they
// are inverted and intersected.

#include "transform/first_order_rational.h"

#include <algorithm>
#include <cstddef>

#include "frame/zxstd/keyed_fields.h"
#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

namespace SatCommonUtils {
namespace {

/// In the order of the stored keys, which is not that of the fields.
constexpr TKeyedArray<TRPC1Params, 4> kFields[] = {{"LineNum%d", &TRPC1Params::LineNum},
                                                   {"LineDenom%d", &TRPC1Params::LineDenom},
                                                   {"SampleNum%d", &TRPC1Params::SampleNum},
                                                   {"SampleDenom%d", &TRPC1Params::SampleDenom}};

double Linear(const double (&c)[4], double x, double y, double z) { return c[0] * x + c[1] * y + c[2] * z + c[3]; }

/// numerator - value·denominator = 0 as one equation in X, Y, Z.
void SetEquation(const double (&numerator)[4], const double (&denominator)[4], double value, TVector* row,
                 double* free_term) {
  for (std::size_t i = 0; i < 3; ++i) (*row)[i] = numerator[i] - denominator[i] * value;
  *free_term = denominator[3] * value - numerator[3];
}

}  // namespace

TRPC1Params::TRPC1Params() { Reset(); }

void TRPC1Params::Reset() {
  for (double(*group)[4] : {&LineNum, &SampleNum, &LineDenom, &SampleDenom}) std::fill_n(*group, 4, 0.0);
}

bool TRPC1Params::InitializeFromXML(TZxXIniReader* src) { return LoadFields(src, kFields, this); }

bool TRPC1Params::SaveToXML(TZxXIniWriter* dst) const { return SaveFields(dst, kFields, *this); }

TRPC1::TRPC1(const TRPC1Params& params) : params_(params) {}

TRPC1& TRPC1::operator=(const TRPC1Params& params) {
  params_ = params;
  return *this;
}

void TRPC1::Set(const TRPC1Params& params) { params_ = params; }

void TRPC1::GetParams(TRPC1Params* out) const { *out = params_; }

void TRPC1::Reset() { params_.Reset(); }

void TRPC1::CalculateLineSample(const double& X, const double& Y, const double& Z, double* line, double* sample) const {
  const double x = X, y = Y, z = Z;  // the outputs may be the inputs
  *line = Linear(params_.LineNum, x, y, z) / Linear(params_.LineDenom, x, y, z);
  *sample = Linear(params_.SampleNum, x, y, z) / Linear(params_.SampleDenom, x, y, z);
}

bool TRPC1::CalculateXY(const double& line, const double& sample, const double& Z, double* X, double* Y) const {
  const double(&ln)[4] = params_.LineNum;
  const double(&ld)[4] = params_.LineDenom;
  const double(&sn)[4] = params_.SampleNum;
  const double(&sd)[4] = params_.SampleDenom;
  return SolveEquationsSet(line * ld[0] - ln[0], line * ld[1] - ln[1], sample * sd[0] - sn[0], sample * sd[1] - sn[1],
                           (ln[2] - line * ld[2]) * Z + (ln[3] - line * ld[3]),
                           (sn[2] - sample * sd[2]) * Z + (sn[3] - sample * sd[3]), X, Y);
}

bool TRPC1::InitializeFromXML(TZxXIniReader* src) { return params_.InitializeFromXML(src); }

bool TRPC1::SaveToXML(TZxXIniWriter* dst) const { return params_.SaveToXML(dst); }

void SpaceIntersection(const TRPC1* model1, const double& line1, const double& sample1, const TRPC1* model2,
                       const double& line2, const double& sample2, double* X, double* Y, double* Z) {
  TRPC1Params first, second;
  model1->GetParams(&first);
  model2->GetParams(&second);
  TMatrix design(3, 4);
  TVector free_terms(4);
  SetEquation(first.SampleNum, first.SampleDenom, sample1, &design[0], &free_terms[0]);
  SetEquation(first.LineNum, first.LineDenom, line1, &design[1], &free_terms[1]);
  SetEquation(second.SampleNum, second.SampleDenom, sample2, &design[2], &free_terms[2]);
  SetEquation(second.LineNum, second.LineDenom, line2, &design[3], &free_terms[3]);
  TVector ground;
  TOverdefinedLinearSystem(design, free_terms).Solution(ground);
  *X = ground[0];
  *Y = ground[1];
  *Z = ground[2];
}

}  // namespace SatCommonUtils
