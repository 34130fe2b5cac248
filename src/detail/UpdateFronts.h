// The updates of fronts in the multifrontal factorization.

/// The updates of one front; Width is the number of columns, Size that of the factor's block column
/// where the compiler is to know it, else 0.
template <class T, int Width, int Size>
void updateColumns(const T* S, unsigned int nb, const FrontTarget<T>* targets, unsigned int count)
{
    constexpr int kRoom = Size > 0 ? Size : int(kMaxRowBlock);
    const unsigned int s = Size > 0 ? Size : nb;
    RowPart<T, Width> transposed[kRoom];
    for (unsigned int p = 0; p < s; ++p) {
        T row[Width];
        for (int j = 0; j < Width; ++j)
            row[j] = S[static_cast<unsigned int>(j) * s + p];
        transposed[p].load(row);
    }
    for (unsigned int t = 0; t < count; ++t) {
        const T* L = targets[t].L;
        T* C = targets[t].C;
        for (unsigned int i = 0; i < targets[t].rows; ++i, L += s, C += Width) {
            RowPart<T, Width> sum;
            sum.load(C);
            for (unsigned int p = 0; p < s; ++p)
                sum.subtract(transposed[p], L[p]);
            sum.store(C);
        }
    }
}

template <class T, int Width>
void updateOfWidth(const T* S, unsigned int nb, const FrontTarget<T>* targets, unsigned int count)
{
    switch (nb) {
    case 3:
        return updateColumns<T, Width, 3>(S, nb, targets, count);
    case 5:
        return updateColumns<T, Width, 5>(S, nb, targets, count);
    case 6:
        return updateColumns<T, Width, 6>(S, nb, targets, count);
    default:
        return updateColumns<T, Width, 0>(S, nb, targets, count);
    }
}

template <class T>
void updateFront(const T* S, unsigned int na, unsigned int nb, const FrontTarget<T>* targets,
                 unsigned int count)
{
    switch (na) {
    case 1:
        return updateOfWidth<T, 1>(S, nb, targets, count);
    case 2:
        return updateOfWidth<T, 2>(S, nb, targets, count);
    case 3:
        return updateOfWidth<T, 3>(S, nb, targets, count);
    case 4:
        return updateOfWidth<T, 4>(S, nb, targets, count);
    case 5:
        return updateOfWidth<T, 5>(S, nb, targets, count);
    case 6:
        return updateOfWidth<T, 6>(S, nb, targets, count);
    case 7:
        return updateOfWidth<T, 7>(S, nb, targets, count);
    case 8:
        return updateOfWidth<T, 8>(S, nb, targets, count);
    default:
        return;
    }
}
