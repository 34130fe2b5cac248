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

/// Rows × Width sums, rows of C `stride` apart.
template <class T, int Width, int Rows>
void updateRows(const T* packed, const T* L, unsigned int nb, T* C, unsigned int stride)
{
    RowPart<T, Width> sums[Rows];
    for (int i = 0; i < Rows; ++i)
        sums[i].load(C + std::size_t(i) * stride);
    for (unsigned int p = 0; p < nb; ++p, packed += Width) {
        RowPart<T, Width> part;
        part.load(packed);
        for (int i = 0; i < Rows; ++i)
            sums[i].subtract(part, L[std::size_t(i) * nb + p]);
    }
    for (int i = 0; i < Rows; ++i)
        sums[i].store(C + std::size_t(i) * stride);
}

/// Width columns of the targets of a front of na, C at its first.
template <class T, int Width>
void updateSomeColumns(const T* S, unsigned int na, unsigned int nb, const FrontTarget<T>* targets,
                       unsigned int count, unsigned int column)
{
    constexpr unsigned int kRows = 4;
    T packed[kMaxFrontDepth * Width];
    for (unsigned int j = 0; j < Width; ++j)
        for (unsigned int p = 0; p < nb; ++p)
            packed[p * Width + j] = S[std::size_t(column + j) * nb + p];
    for (unsigned int t = 0; t < count; ++t) {
        const T* L = targets[t].L;
        T* C = targets[t].C + column;
        unsigned int i = 0;
        for (; i + kRows <= targets[t].rows; i += kRows) {
            updateRows<T, Width, kRows>(packed, L, nb, C, na);
            L += std::size_t(kRows) * nb;
            C += std::size_t(kRows) * na;
        }
        for (; i < targets[t].rows; ++i, L += nb, C += na)
            updateRows<T, Width, 1>(packed, L, nb, C, na);
    }
}

/// The updates of one front of any size.
template <class T>
void updateLargeFront(const T* S, unsigned int na, unsigned int nb, const FrontTarget<T>* targets,
                      unsigned int count)
{
    unsigned int column = 0;
    for (; column + 8 <= na; column += 8)
        updateSomeColumns<T, 8>(S, na, nb, targets, count, column);
    for (; column + 4 <= na; column += 4)
        updateSomeColumns<T, 4>(S, na, nb, targets, count, column);
    for (; column < na; ++column)
        updateSomeColumns<T, 1>(S, na, nb, targets, count, column);
}

template <class T>
void updateFront(const T* S, unsigned int na, unsigned int nb, const FrontTarget<T>* targets,
                 unsigned int count)
{
    if (nb > kMaxRowBlock)
        return updateLargeFront(S, na, nb, targets, count);
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
        return updateLargeFront(S, na, nb, targets, count);
    }
}
