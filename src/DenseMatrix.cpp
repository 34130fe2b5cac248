#include <kyrOrvel/DenseMatrix>

#include "detail/ExactArithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kyrOrvel {

template <class T>
DenseMatrix<T>::DenseMatrix(int n)
    : dimension(std::max(n, 0)),
      values(new T[static_cast<std::size_t>(dimension) * static_cast<std::size_t>(dimension)]())
{
}

template <class T> DenseMatrix<T>::~DenseMatrix()
{
    delete[] values;
}

template <class T> void DenseMatrix<T>::factor()
{
    factored = true;
    for (int k = 0; k < dimension; ++k) {
        T d = at(k, k);
        for (int i = 0; i < k; ++i)
            d -= at(i, k) * at(i, k);
        if (d <= 0) {
            at(k, k) = d;
            return;
        }
        at(k, k) = std::sqrt(d);
        for (int j = k + 1; j < dimension; ++j) {
            T s = at(k, j);
            for (int i = 0; i < k; ++i)
                s -= at(i, k) * at(i, j);
            at(k, j) = s / at(k, k);
        }
    }
}

template <class T> void DenseMatrix<T>::solve(T* x)
{
    if (!factored)
        factor();
    for (int i = 0; i < dimension; ++i) {
        for (int j = 0; j < i; ++j)
            x[i] -= at(j, i) * x[j];
        x[i] = x[i] / at(i, i);
    }
    for (int i = dimension - 1; i >= 0; --i) {
        for (int j = dimension - 1; j > i; --j)
            x[i] -= at(i, j) * x[j];
        x[i] = x[i] / at(i, i);
    }
}

template class DenseMatrix<float>;
template class DenseMatrix<double>;

} // namespace kyrOrvel
