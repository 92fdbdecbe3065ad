#include "linalg/matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "frame/zxstd/message.h"
#include "linalg/reference.h"
#include "support/debug_capture.h"
#include "support/xml.h"

namespace orbmath_test {
namespace {

using namespace SatCommonUtils;

const Rows kTwoByThree = {{1, 2, 3}, {4, 5, 6}};

TEST(Matrix, TakesWidthBeforeHeightButRowBeforeColumnInParentheses) {
  TMatrix m(3, 2);
  EXPECT_EQ(m.GetWidth(), 3u);
  EXPECT_EQ(m.GetHeight(), 2u);
  m = MatrixOf(kTwoByThree);
  EXPECT_EQ(m.GetElement(2, 0), 3.0);
  EXPECT_EQ(m(0, 2), 3.0);
  EXPECT_EQ(m[1][0], 4.0);
  m.SetElement(1, 0, 9);
  EXPECT_EQ(m.GetColomn(1).GetString(), "(9;5)");
  EXPECT_EQ(RowsOf(TMatrix(2)), (Rows{{1, 0}, {0, 1}}));
  EXPECT_EQ(RowsOf(TMatrix(TVector(1, 2, 3))), (Rows{{1, 0, 0}, {0, 2, 0}, {0, 0, 3}}));
  const auto refused = [](auto access) {
    try {
      access();
      return std::string("accepted");
    } catch (const std::runtime_error& error) {
      return std::string(error.what());
    }
  };
  const std::string text = "double& TVector::operator[] (size_t index)";
  EXPECT_EQ(refused([&] { m(0, 3); }), text);
  EXPECT_EQ(refused([&] { m.SetElement(3, 0, 1.0); }), text);
  EXPECT_EQ(refused([&] { m.GetColomn(3); }), text);
  EXPECT_EQ(refused([&] { m.SetColomn(3, TVector(2)); }), text);
  EXPECT_EQ(refused([&] { m.SetColomn(0, TVector(1)); }), text);
  EXPECT_EQ(refused([&] { m.AddToDiag(TVector(3)); }), text);
}

TEST(Matrix, KeepsItsOwnDebugName) {
  static_assert(std::is_nothrow_move_constructible<TMatrix>::value && std::is_nothrow_move_assignable<TMatrix>::value);
  TMatrix named(std::string("name"));
  named.Reset(1, 1);
  TMatrix copy(named), target(std::string("target"));
  EXPECT_EQ(copy.GetDebugName(), "");
  target = named;
  EXPECT_EQ(target.GetDebugName(), "target");
  target = std::move(named);
  EXPECT_EQ(target.GetDebugName(), "target");
  EXPECT_EQ(named.GetHeight(), 0u);  // NOLINT(bugprone-use-after-move): promised
  const DebugCapture capture;
  target.DebugOutput();
  EXPECT_EQ(capture.messages, (std::vector<std::string>{"target", "(   0.0000)\n"}));
}

TEST(Matrix, CalculatesAndRearranges) {
  const TMatrix a = MatrixOf(kTwoByThree);
  EXPECT_EQ(RowsOf(a + a), RowsOf(a * 2.0));
  EXPECT_EQ(RowsOf(a - 2.0 * a), RowsOf(-a));
  EXPECT_EQ(RowsOf(a / 0.5), RowsOf(a * 2.0));
  EXPECT_EQ(RowsOf(!a), Transposed(kTwoByThree));
  EXPECT_EQ((-a).Norma1(), 15.0);
  EXPECT_EQ(TMatrix().Norma1(), -1.0);
  TMatrix m(a);
  m.SwapRows(0, 1);
  m.SwapColomns(0, 2);
  EXPECT_EQ(RowsOf(m), (Rows{{6, 5, 4}, {3, 2, 1}}));
  m.InsertSubmatrix(1, 0, TMatrix(2));
  m.AddToRow(0, TVector(1, 1, 1));
  m.SubtractFromRow(1, TVector(1, 1, 1));
  EXPECT_EQ(RowsOf(m), (Rows{{7, 2, 1}, {2, -1, 0}}));
  EXPECT_FALSE(m.Clip(0, 1) || m.Clip(1, 0) || m.Clip(4, 1) || m.Clip(1, 3));
  EXPECT_TRUE(m.Clip(2, 2));
  m.SubtractFromDiag(TVector(7, -1, 0));
  EXPECT_EQ(RowsOf(m), (Rows{{0, 2}, {2, 0}}));
  EXPECT_TRUE(m.Clip(1, 1));
  EXPECT_EQ(RowsOf(m), (Rows{{0}}));
}

TEST(Matrix, GoesThroughBuffersAndStreams) {
  const TMatrix a = MatrixOf(kTwoByThree);
  double** const rows = a.Put2Buffer();
  TMatrix b(3, 2);
  b.FillFromBuffer(rows);
  ReleaseMatrix(rows, 2);
  EXPECT_EQ(RowsOf(b), kTwoByThree);
  double flat[6];
  EXPECT_TRUE(a.PutToBuffer(flat));
  TZxStringStream stream;
  EXPECT_TRUE(a.PutToStream(&stream));
  EXPECT_EQ(stream.GetString(), std::string(reinterpret_cast<const char*>(flat), sizeof flat));
  EXPECT_EQ(flat[5], 6.0);
  EXPECT_FALSE(TMatrix(3, 0).PutToBuffer(flat) || TMatrix().PutToStream(&stream));
  const DebugCapture capture;
  MatrixOf({{0, 1, -2}, {3, 0, 1}}).DebugOutputPortrait(false, true, true);
  EXPECT_EQ(capture.messages, (std::vector<std::string>{"=====\n", "| 1-|\n", "|+ 1|\n"})) << "a message a line";
}

TEST(Matrix, HasNoFormWithoutReaderWriterOrStream) {
  TMatrix matrix(2);
  TVector vector(3);
  EXPECT_FALSE(matrix.SaveToXML(nullptr, "m") || matrix.InitializeFromXML(nullptr, "m") || matrix.PutToStream(nullptr));
  EXPECT_FALSE(vector.SaveToXML(nullptr, "v") || vector.InitializeFromXML(nullptr, "v"));
  EXPECT_TRUE(matrix.GetWidth() == 2 && vector.GetSize() == 3);
}

// Sections as they come from hands and damaged disks.
std::string Section(const std::string& width, const std::string& height, const std::vector<std::string>& rows) {
  return SavedXml([&](TZxXIniWriter* writer) {
    const TZxXIniWriterSection section(writer, "m");
    writer->WriteS<std::string>("MatrixWidth", width);
    writer->WriteS<std::string>("MatrixHeight", height);
    const TZxXIniWriterSection stored(writer, "MatrixRows");
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (rows[i] != "-") writer->WriteS<std::string>(std::to_string(i), rows[i]);
    }
  });
}

TEST(Matrix, LoadsFromXmlBitForBit) {
  const std::vector<double> special = SpecialDoubles();
  const TMatrix saved = MatrixOf({special, std::vector<double>(special.rbegin(), special.rend())});
  const std::string xml = SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(saved.SaveToXML(writer, "m")); });
  TMatrix loaded(5);
  EXPECT_TRUE(loaded.InitializeFromXML(ReaderOf(xml).get(), "m"));
  EXPECT_TRUE(SameBits(RowsOf(loaded), RowsOf(saved)));
  const std::string empty = SavedXml([&](TZxXIniWriter* writer) { TMatrix().SaveToXML(writer, "m"); });
  EXPECT_TRUE(loaded.InitializeFromXML(ReaderOf(empty).get(), "m"));
  EXPECT_EQ(loaded.GetElementsCount(), 0u);
}

TEST(Matrix, RefusesHostileXmlAndStaysAsItWas) {
  const std::string huge = "18446744073709551615";
  const struct {
    const char* what;
    std::string xml;
    const char* key;
  } cases[] = {
      {"no section", Section("2", "1", {"(1;2)"}), "other"},
      {"huge height", Section("2", huge, {"(1;2)"}), "m"},
      {"huge width", Section(huge, "1", {"(1;2)"}), "m"},
      {"huge both", Section(huge, huge, {}), "m"},
      {"missing row", Section("2", "3", {"(1;2)", "-", "(3;4)", "(5;6)"}), "m"},
      {"short row", Section("2", "2", {"(1;2)", "(1)"}), "m"},
      {"long row", Section("2", "2", {"(1;2)", "(1;2;3)"}), "m"},
      {"empty row", Section("0", "1", {"()"}), "m"},
      {"long token", Section("1", "1", {std::string(200, '1')}), "m"},
      {"an item", SavedXml([](auto* writer) { writer->template WriteS<std::string>("m", "(1)"); }), "m"},
  };
  for (const auto& one : cases) {
    TMatrix matrix = MatrixOf(kTwoByThree);
    const auto reader = ReaderOf(one.xml);
    EXPECT_FALSE(matrix.InitializeFromXML(reader.get(), one.key)) << one.what;
    EXPECT_EQ(RowsOf(matrix), kTwoByThree) << one.what;
    EXPECT_FALSE(reader->LeaveSection()) << one.what << ": the reader is not where it was";
  }
  TMatrix matrix = MatrixOf(kTwoByThree);
  EXPECT_THROW(matrix.InitializeFromXML(ReaderOf(Section("two", "1", {"(1;2)"})).get(), "m"), TZxMessage);
  EXPECT_EQ(RowsOf(matrix), kTwoByThree);
}

// The system of n² unknowns that defines the inverse, written out.
Rows LiteralInverse(const Rows& a) {
  const std::size_t n = a.size();
  Rows system(n * n, std::vector<double>(n * n)), result(n, std::vector<double>(n));
  std::vector<double> right(n * n), x(n * n);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      std::copy(a[i].begin(), a[i].end(), system[i * n + j].begin() + static_cast<std::ptrdiff_t>(j * n));
    }
    right[i * n + i] = 1.0;
  }
  if (ReferenceGauss(&system, &right, &x) == 0.0) return result;
  for (std::size_t k = 0; k < n; ++k) {
    for (std::size_t j = 0; j < n; ++j) result[k][j] = x[j * n + k];
  }
  return result;
}

// All kinds of matrices for which the copies of that system meet: ties, zeros of both signs, determinants that under-
// and overflow, infinities that arise on the way and in the solution, a single element that is not finite, equal rows.
Rows MatrixToInvert(Random* random, std::size_t n, int way) {
  Rows a = RandomRows(random, n, n, kKinds[way % 4]);
  const auto scale = [&a](double factor) { a = RowsOf(MatrixOf(a) * factor); };
  if (way % 5 == 0) scale(1e-60);
  if (way % 7 == 2) {
    for (auto& row : a) {
      for (double& x : row) x = random->Index(4) == 0 ? -0.0 : std::copysign(1.0, x);  // ties and signed zeros
    }
  }
  if (way % 11 == 3) scale(1e307);
  if (way % 13 == 4) a[random->Index(n)][random->Index(n)] = INFINITY;
  if (way % 13 == 5) a[random->Index(n)][random->Index(n)] = -1e308;
  if (way % 17 == 6) a[random->Index(n)] = a[random->Index(n)];
  if (way % 19 == 7) a[random->Index(n)][random->Index(n)] = NAN;
  if (way % 9 == 8 && n > 1) {
    for (double& x : a[random->Index(n)]) x *= 3e-309;  // a solution overflows, the determinant does not underflow
    for (double& x : a[random->Index(n)]) x *= 1e290;
  }
  return a;
}

std::size_t CountFinite(const Rows& a) {
  std::size_t count = 0;
  for (const auto& row : a) count += std::count_if(row.begin(), row.end(), [](double x) { return std::isfinite(x); });
  return count;
}

TEST(Matrix, InverseHasTheBitsOfTheLiteralSystem) {
  Random random("inverse");
  int zero = 0, not_finite = 0, in_part = 0;
  for (std::size_t n = 1; n <= 12; ++n) {
    for (int i = 0; i < (n <= 7 ? 400 : 60); ++i) {
      const Rows a = MatrixToInvert(&random, n, i);
      const Rows expected = LiteralInverse(a);
      const Rows inverse = RowsOf(~MatrixOf(a));
      ASSERT_TRUE(SameBits(inverse, expected)) << "n " << n << " case " << i << '\n' << MatrixOf(a).Output();
      const std::size_t finite = CountFinite(expected);
      zero += MatrixOf(expected).Norma1() == 0.0;
      not_finite += finite == 0;
      in_part += finite > 0 && finite < n * n;
    }
  }
  EXPECT_TRUE(zero > 100 && not_finite > 100 && in_part > 20) << zero << ' ' << not_finite << ' ' << in_part;
  EXPECT_EQ(RowsOf(~MatrixOf({{1, 2}, {2, 4}})), (Rows{{0, 0}, {0, 0}}));
  EXPECT_EQ(RowsOf(~MatrixOf({{0, 2}, {4, 0}})), (Rows{{0, 0.25}, {0.5, 0}}));
  EXPECT_EQ(Cond(MatrixOf({{1, 0}, {0, 4}})), 4.0);
  EXPECT_EQ((~TMatrix()).GetElementsCount(), 0u);
}

}  // namespace
}  // namespace orbmath_test
