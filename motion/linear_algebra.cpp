// Small dense matrices, row-major.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <utility>

#include "support/scratch.h"
#include "vantro/bounded.h"
#include "vantro/motion.h"

namespace vantro {
namespace {

constexpr int kLuOrder = 6;

// Upper Cholesky factor: A = transpose(U) * U. Reads the upper triangle of A; U is zero below its
// diagonal already.
void FactorUpper(const float* a, float* u, size_t n) {
  for (size_t k = 0; k < n; ++k) {
    float d = a[k * n + k];
    for (size_t j = 0; j < k; ++j) d -= u[j * n + k] * u[j * n + k];
    u[k * n + k] = std::sqrt(d);
    for (size_t m = k + 1; m < n; ++m) {
      float s = a[k * n + m];
      for (size_t j = 0; j < k; ++j) s -= u[j * n + k] * u[j * n + m];
      u[k * n + m] = s / u[k * n + k];
    }
  }
}

// Inverts the upper triangular U into V, which is zero, by eliminating upwards; U ends as the
// identity.
void InvertUpper(float* u, float* v, size_t n) {
  for (size_t i = n; i-- > 0;) {
    v[i * n + i] = 1.0f;
    for (size_t c = i; c < n; ++c) v[i * n + c] /= u[i * n + i];
    u[i * n + i] = 1.0f;
    for (size_t r = i; r-- > 0;) {
      const float f = u[r * n + i];
      for (size_t c = n; c-- > r;) {
        v[r * n + c] -= f * v[i * n + c];
        u[r * n + c] -= f * u[i * n + c];
      }
    }
  }
}

}  // namespace
}  // namespace vantro

int getInvMat(const float* A, float* out, int n) {
  if (n >= 1 && (A == nullptr || out == nullptr)) return -1;
  static constexpr char kName[] = "getInvMat";
  const uint64_t count = static_cast<uint64_t>(int64_t{n} * n);
  vantro::TrackedBlock<float> u = vantro::AllocTracked<float>(count, kName);
  if (u == nullptr) return -1;
  vantro::TrackedBlock<float> v = vantro::AllocTracked<float>(count, kName);
  if (v == nullptr) return -1;
  const size_t bytes = static_cast<size_t>(count) * sizeof(float);
  memset_s(u.get(), bytes, 0, bytes);
  memset_s(v.get(), bytes, 0, bytes);
  if (n < 1) return 0;

  const size_t order = static_cast<size_t>(n);
  vantro::FactorUpper(A, u.get(), order);
  vantro::InvertUpper(u.get(), v.get(), order);
  for (size_t i = 0; i < order; ++i) {
    for (size_t j = 0; j < order; ++j) {
      float sum = out[i * order + j];
      for (size_t k = 0; k < order; ++k) sum += v[i * order + k] * v[j * order + k];
      out[i * order + j] = sum;
    }
  }
  return 0;
}

void LUP_Descomposition(double* A, double* L, double* U, int* P) {
  using vantro::kLuOrder;
  if (A == nullptr || L == nullptr || U == nullptr || P == nullptr) return;
  for (int i = 0; i < kLuOrder; ++i) P[i] = i;
  for (int i = 0; i < kLuOrder - 1; ++i) {
    double largest = 0.0;
    int pivot = i;
    for (int k = i; k < kLuOrder; ++k) {
      const double candidate = std::fabs(A[k * kLuOrder + i]);
      if (candidate > largest) {
        largest = candidate;
        pivot = k;
      }
    }
    if (largest == 0.0) {
      std::printf("CAN NOT DO INVERT MAT\n");
      std::fflush(stdout);
      return;
    }
    std::swap(P[i], P[pivot]);
    for (int c = 0; c < kLuOrder; ++c) std::swap(A[i * kLuOrder + c], A[pivot * kLuOrder + c]);
    for (int j = i + 1; j < kLuOrder; ++j) {
      A[j * kLuOrder + i] /= A[i * kLuOrder + i];
      for (int m = i + 1; m < kLuOrder; ++m) {
        A[j * kLuOrder + m] -= A[j * kLuOrder + i] * A[i * kLuOrder + m];
      }
    }
  }
  for (int r = 0; r < kLuOrder; ++r) {
    for (int c = 0; c < r; ++c) L[r * kLuOrder + c] = A[r * kLuOrder + c];
    L[r * kLuOrder + r] = 1.0;
    for (int c = r; c < kLuOrder; ++c) U[r * kLuOrder + c] = A[r * kLuOrder + c];
  }
}

double* LUP_Solve(const double* L, const double* U, const int* P, const double* b) {
  using vantro::kLuOrder;
  if (L == nullptr || U == nullptr || P == nullptr || b == nullptr) return nullptr;
  for (int i = 0; i < kLuOrder; ++i) {
    if (P[i] < 0 || P[i] >= kLuOrder) return nullptr;
  }
  double* x = new (std::nothrow) double[kLuOrder];
  if (x == nullptr) return nullptr;
  double y[kLuOrder];
  for (int i = 0; i < kLuOrder; ++i) {
    y[i] = b[P[i]];
    for (int j = 0; j < i; ++j) y[i] -= L[i * kLuOrder + j] * y[j];
  }
  for (int i = kLuOrder - 1; i >= 0; --i) {
    x[i] = y[i];
    for (int j = kLuOrder - 1; j > i; --j) x[i] -= U[i * kLuOrder + j] * x[j];
    x[i] /= U[i * kLuOrder + i];
  }
  return x;
}

int getNext(int i, int m, int n) {
  // In 64 bits, the quotient of the smallest int by -1 included; the result wraps.
  return n == 0 ? 0 : static_cast<int>(int64_t{i} % n * m + int64_t{i} / n);
}

int getPre(int i, int m, int n) {
  return m == 0 ? 0 : static_cast<int>(int64_t{i} % m * n + int64_t{i} / m);
}

void movedata(double* A, int i, int m, int n) {
  if (A == nullptr) return;
  const int64_t count = int64_t{m} * n;
  if (m < 1 || n < 1 || count > std::numeric_limits<int>::max() || i < 0 || i >= count) return;
  const double kept = A[i];
  int current = i;
  int source = getPre(current, m, n);
  while (source != i) {
    A[current] = A[source];
    current = source;
    source = getPre(current, m, n);
  }
  A[current] = kept;
}

void transpose(double* A, int m, int n) {
  const int64_t count = int64_t{m} * n;
  if (A == nullptr || m < 1 || n < 1 || count > std::numeric_limits<int>::max()) return;
  for (int i = 0; i < count; ++i) {
    int j = getNext(i, m, n);
    while (j > i) j = getNext(j, m, n);
    if (j == i) movedata(A, i, m, n);
  }
}
