#include <kyrOrvel/DenseKernels>

#include "detail/ExactArithmetic.h"

#include <cstddef>

namespace kyrOrvel {

namespace {

/// Row i of a row-major block. The offset is formed in ptrdiff_t: i*ld may pass the range of int.
template <class T> T* rowOf(T* A, int ld, int i)
{
    return A + static_cast<std::ptrdiff_t>(i) * ld;
}

/// Whether a size leaves nothing to do. Then operands may be null, and not even the address of a
/// row may be formed.
bool isEmpty(int m, int n, int k = 1)
{
    return m < 1 || n < 1 || k < 1;
}

} // namespace

template <class T>
void orvel_MM_CM_AtB(const T* A, int lda, const T* B, int ldb, T* C, int ldc, int m, int n, int k)
{
    if (isEmpty(m, n, k))
        return;
    for (int i = 0; i < m; ++i) {
        T* c = rowOf(C, ldc, i);
        for (int p = 0; p < k; ++p) {
            const T a = rowOf(A, lda, p)[i];
            const T* b = rowOf(B, ldb, p);
            for (int j = 0; j < n; ++j)
                c[j] -= a * b[j];
        }
    }
}

template <class T>
void orvel_MM_CP_AtB(const T* A, int lda, const T* B, int ldb, T* C, int ldc, int m, int n, int k)
{
    if (isEmpty(m, n, k))
        return;
    for (int i = 0; i < m; ++i) {
        T* c = rowOf(C, ldc, i);
        for (int p = 0; p < k; ++p) {
            const T a = rowOf(A, lda, p)[i];
            const T* b = rowOf(B, ldb, p);
            for (int j = 0; j < n; ++j)
                c[j] += a * b[j];
        }
    }
}

template <class T>
void orvel_MM_CM_ABt(const T* A, int lda, const T* B, int ldb, T* C, int ldc, int m, int n, int k)
{
    if (isEmpty(m, n, k))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        T* c = rowOf(C, ldc, i);
        for (int j = 0; j < n; ++j) {
            const T* b = rowOf(B, ldb, j);
            T s = c[j];
            for (int p = 0; p < k; ++p)
                s -= a[p] * b[p];
            c[j] = s;
        }
    }
}

template <class T>
void orvel_MM_CP_ABt(const T* A, int lda, const T* B, int ldb, T* C, int ldc, int m, int n, int k)
{
    if (isEmpty(m, n, k))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        T* c = rowOf(C, ldc, i);
        for (int j = 0; j < n; ++j) {
            const T* b = rowOf(B, ldb, j);
            T s = c[j];
            for (int p = 0; p < k; ++p)
                s += a[p] * b[p];
            c[j] = s;
        }
    }
}

template <class T>
void orvel_MV_YM_aAX(const T* A, int lda, const T* x, T* y,
                     typename detail::NonDeduced<T>::Type alpha, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[i] -= (alpha * a[j]) * x[j];
    }
}

template <class T>
void orvel_MV_YP_aAX(const T* A, int lda, const T* x, T* y,
                     typename detail::NonDeduced<T>::Type alpha, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[i] += (alpha * a[j]) * x[j];
    }
}

template <class T>
void orvel_MV_YM_aAtX(const T* A, int lda, const T* x, T* y,
                      typename detail::NonDeduced<T>::Type alpha, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[j] -= (alpha * a[j]) * x[i];
    }
}

template <class T>
void orvel_MV_YP_aAtX(const T* A, int lda, const T* x, T* y,
                      typename detail::NonDeduced<T>::Type alpha, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[j] += (alpha * a[j]) * x[i];
    }
}

template <class T> void orvel_MV_YM_AX(const T* A, int lda, const T* x, T* y, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[i] -= a[j] * x[j];
    }
}

template <class T> void orvel_MV_YP_AX(const T* A, int lda, const T* x, T* y, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[i] += a[j] * x[j];
    }
}

template <class T> void orvel_MV_YM_AtX(const T* A, int lda, const T* x, T* y, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[j] -= a[j] * x[i];
    }
}

template <class T> void orvel_MV_YP_AtX(const T* A, int lda, const T* x, T* y, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int i = 0; i < m; ++i) {
        const T* a = rowOf(A, lda, i);
        for (int j = 0; j < n; ++j)
            y[j] += a[j] * x[i];
    }
}

template <class T>
void orvel_MV_aAX_SYL(const T* A, int lda, const T* x, T* y,
                      typename detail::NonDeduced<T>::Type alpha, int n)
{
    for (int i = 0; i < n; ++i) {
        const T* a = rowOf(A, lda, i);
        y[i] += (alpha * a[i]) * x[i];
        for (int j = 0; j < i; ++j) {
            y[i] += (alpha * a[j]) * x[j];
            y[j] += (alpha * a[j]) * x[i];
        }
    }
}

template <class T> void orvel_MV_AX_SYL(const T* A, int lda, const T* x, T* y, int n)
{
    for (int i = 0; i < n; ++i) {
        const T* a = rowOf(A, lda, i);
        y[i] += a[i] * x[i];
        for (int j = 0; j < i; ++j) {
            y[i] += a[j] * x[j];
            y[j] += a[j] * x[i];
        }
    }
}

template <class T> void orvel_SV_TRIL(const T* L, int ldl, T* x, int n)
{
    for (int i = 0; i < n; ++i) {
        const T* l = rowOf(L, ldl, i);
        T s = x[i];
        for (int j = 0; j < i; ++j)
            s -= l[j] * x[j];
        x[i] = s / l[i];
    }
}

template <class T> void orvel_SV_TRIL_UD(const T* L, int ldl, T* x, int n)
{
    for (int i = 1; i < n; ++i) {
        const T* l = rowOf(L, ldl, i);
        for (int j = 0; j < i; ++j)
            x[i] -= l[j] * x[j];
    }
}

template <class T> void orvel_SV_TRILt(const T* L, int ldl, T* x, int n)
{
    for (int i = n - 1; i >= 0; --i) {
        const T* l = rowOf(L, ldl, i);
        x[i] = x[i] / l[i];
        for (int j = 0; j < i; ++j)
            x[j] -= x[i] * l[j];
    }
}

template <class T> void orvel_SM_UD(const T* L, int ldl, T* X, int /*ldx*/, int m, int n)
{
    if (isEmpty(m, n))
        return;
    for (int r = 0; r < m; ++r)
        orvel_SV_TRIL(L, ldl, rowOf(X, ldl, r), n);
}

// The set of instantiations is the library's interface: nine kernels for both types, nine more
// for float alone, because the double paths carry those loops inline.
#define ORVEL_INSTANTIATE_MM(name, T)                                                              \
    template void name<T>(const T*, int, const T*, int, T*, int, int, int, int);
#define ORVEL_INSTANTIATE_MV_SCALED(name, T)                                                       \
    template void name<T>(const T*, int, const T*, T*, T, int, int);
#define ORVEL_INSTANTIATE_BOTH(T)                                                                  \
    ORVEL_INSTANTIATE_MM(orvel_MM_CM_AtB, T)                                                       \
    ORVEL_INSTANTIATE_MM(orvel_MM_CP_AtB, T)                                                       \
    ORVEL_INSTANTIATE_MM(orvel_MM_CM_ABt, T)                                                       \
    ORVEL_INSTANTIATE_MM(orvel_MM_CP_ABt, T)                                                       \
    ORVEL_INSTANTIATE_MV_SCALED(orvel_MV_YM_aAX, T)                                                \
    ORVEL_INSTANTIATE_MV_SCALED(orvel_MV_YP_aAX, T)                                                \
    ORVEL_INSTANTIATE_MV_SCALED(orvel_MV_YM_aAtX, T)                                               \
    ORVEL_INSTANTIATE_MV_SCALED(orvel_MV_YP_aAtX, T)                                               \
    template void orvel_MV_aAX_SYL<T>(const T*, int, const T*, T*, T, int);

ORVEL_INSTANTIATE_BOTH(double)
ORVEL_INSTANTIATE_BOTH(float)

template void orvel_MV_YM_AX<float>(const float*, int, const float*, float*, int, int);
template void orvel_MV_YP_AX<float>(const float*, int, const float*, float*, int, int);
template void orvel_MV_YM_AtX<float>(const float*, int, const float*, float*, int, int);
template void orvel_MV_YP_AtX<float>(const float*, int, const float*, float*, int, int);
template void orvel_MV_AX_SYL<float>(const float*, int, const float*, float*, int);
template void orvel_SV_TRIL<float>(const float*, int, float*, int);
template void orvel_SV_TRIL_UD<float>(const float*, int, float*, int);
template void orvel_SV_TRILt<float>(const float*, int, float*, int);
template void orvel_SM_UD<float>(const float*, int, float*, int, int, int);

} // namespace kyrOrvel
