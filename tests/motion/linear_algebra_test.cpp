// Small dense matrices: the algebra they stand for, and what happens at their edges.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

#include "tests/image/image_buffers.h"
#include "tests/support/failing_malloc.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsNan;

using Doubles = std::vector<double>;

TEST(GetInvMat, AddsTheInverseAndGivesNanForANegativePivot) {
  const float a[] = {4, 0, 0, 9};
  float out[] = {1, 2, 3, 4};
  EXPECT_EQ(getInvMat(a, out, 2), 0);
  // (1/3)^2 in single precision: the factor's inverse is squared.
  EXPECT_THAT(out, ElementsAre(1.25f, 2.0f, 3.0f, 4.0f + (1.0f / 3.0f) * (1.0f / 3.0f)));
  const float negative[] = {-1.0f};
  EXPECT_EQ(getInvMat(negative, out, 1), 0);
  EXPECT_THAT(out[0], IsNan());
}

TEST(GetInvMat, InvertsPositiveDefiniteMatricesByTheirUpperTriangle) {
  Random random(1);
  for (size_t n = 1; n <= 9; ++n) {
    const Floats b = random.Floats(n * n, -1.0f, 1.0f);
    // Of b times its transpose, plus one.
    const auto a = [&](size_t i, size_t j) {
      return std::inner_product(&b[i * n], &b[i * n] + n, &b[j * n], i == j ? 1.0f : 0.0f);
    };
    Floats upper, inverse(n * n);
    for (size_t i = 0; i < n * n; ++i) {
      upper.push_back(i % n < i / n ? std::nanf("") : a(i / n, i % n));
    }
    EXPECT_EQ(getInvMat(upper.data(), inverse.data(), static_cast<int>(n)), 0);
    for (size_t i = 0; i < n; ++i) {
      for (size_t j = 0; j < n; ++j) {
        double product = 0;
        for (size_t k = 0; k < n; ++k) product += double{a(i, k)} * double{inverse[k * n + j]};
        EXPECT_NEAR(product, i == j ? 1.0 : 0.0, 2e-5) << n << ": " << i << ", " << j;
      }
    }
  }
}

TEST(GetInvMat, ReportsMissingMemoryAndLeavesAnEmptyMatrixAlone) {
  const float a[] = {1, 0, 0, 1};
  float out[] = {7, 7, 7, 7};
  for (const int request : {0, 1}) {
    const FailingMalloc heap(request);
    EXPECT_EQ(getInvMat(a, out, 2), -1);
    EXPECT_EQ(heap.live(), 0);
  }
  EXPECT_EQ(getInvMat(a, out, 2000000000), -1);  // more than 32 bits can count
  EXPECT_EQ(getInvMat(a, out, 0), 0);
  EXPECT_EQ(getInvMat(nullptr, nullptr, -3), 0);
  EXPECT_EQ(getInvMat(nullptr, out, 1), -1);
  EXPECT_THAT(out, Each(7.0f));
}

struct Lu : testing::Test {
  Doubles l = Doubles(36, 99.0);
  Doubles u = l;
  int p[6] = {-1, -1, -1, -1, -1, -1};
};

TEST_F(Lu, FactorsThePermutedMatrixAndSolvesWithIt) {
  const double b[] = {1, -2, 3, -4, 5, -6};
  for (unsigned seed = 0; seed < 20; ++seed) {
    Random random(seed);
    const Floats values = random.Floats(36, -3.0f, 3.0f);
    const Doubles a(values.begin(), values.end());
    Doubles work = a;
    LUP_Descomposition(work.data(), l.data(), u.data(), p);
    const std::unique_ptr<double[]> x(LUP_Solve(l.data(), u.data(), p, b));
    for (size_t i = 0; i < 6; ++i) {
      EXPECT_NEAR(std::inner_product(&a[6 * i], &a[6 * i] + 6, x.get(), 0.0), b[i], 1e-9);
      for (size_t j = 0; j < 6; ++j) {
        double product = 0;
        for (size_t k = 0; k <= std::min(i, j); ++k) product += l[6 * i + k] * u[6 * k + j];
        EXPECT_NEAR(product, a[6 * static_cast<size_t>(p[i]) + j], 1e-12);
        // A factor of at most 1 below the diagonal; nothing is written beyond it.
        if (j < i) {
          EXPECT_LE(std::fabs(l[6 * i + j]), 1.0);
          EXPECT_EQ(u[6 * i + j], 99.0);
        } else if (j > i) {
          EXPECT_EQ(l[6 * i + j], 99.0);
        }
      }
    }
  }
  p[2] = 6;
  EXPECT_EQ(LUP_Solve(l.data(), u.data(), p, b), nullptr);
}

TEST_F(Lu, TakesTheFirstOfEqualPivotsAndStopsAtASingularMatrix) {
  Doubles a(36, 0.0);
  testing::internal::CaptureStdout();
  LUP_Descomposition(a.data(), l.data(), u.data(), p);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "CAN NOT DO INVERT MAT\n");
  EXPECT_THAT(l, Each(99.0));
  EXPECT_THAT(u, Each(99.0));
  for (size_t i = 0; i < 6; ++i) a[7 * i] = 1.0;
  a[6 * 3] = -1.0;
  LUP_Descomposition(a.data(), l.data(), u.data(), p);
  EXPECT_THAT(p, ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(Transpose, MovesEveryElementAtEveryShape) {
  for (int m = 1; m <= 9; ++m) {
    for (int n = 1; n <= 9; ++n) {
      Doubles a(Area(m, n));
      std::iota(a.begin(), a.end(), 0.0);
      transpose(a.data(), m, n);
      for (int r = 0; r < m; ++r) {
        for (int c = 0; c < n; ++c) {
          EXPECT_EQ(a[Index(r, c, m)], r * n + c) << m << "x" << n;
          EXPECT_EQ(getNext(r * n + c, m, n), c * m + r);
          EXPECT_EQ(getPre(c * m + r, m, n), r * n + c);
        }
      }
    }
  }
}

TEST(Transpose, RotatesOneCycleAtATime) {
  Doubles a = {1, 2, 3, 4, 5, 6};
  movedata(a.data(), 1, 2, 3);
  // Of the cycle 1 -> 2 -> 4 -> 3 each element has gone to its place; 0 and 5 stay.
  EXPECT_THAT(a, ElementsAre(1, 4, 2, 5, 3, 6));
  movedata(a.data(), 6, 2, 3);
  movedata(a.data(), -1, 2, 3);
  transpose(a.data(), 0, 3);
  transpose(a.data(), 100000, 100000);
  EXPECT_THAT(a, ElementsAre(1, 4, 2, 5, 3, 6));
  EXPECT_EQ(getNext(5, 2, 0), 0);
  EXPECT_EQ(getPre(5, 0, 2), 0);
}

}  // namespace
}  // namespace vantro::test
