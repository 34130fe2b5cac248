// What the factorizations leave of the terms of their pivots, for whoever judges these: the
// magnitudes of all of them, added in ascending order of columns by rows and by panels alike.

template <class T> [[gnu::always_inline]] inline void addMagnitude(T& sum, T term)
{
    sum += term < 0 ? -term : term;
}

/// Adds |L(i, q)·S(i, q)| for the first columns of two blocks' row i.
template <class T> inline void addTerms(const T* L, const T* S, unsigned int count, T& scale)
{
    for (unsigned int q = 0; q < count; ++q)
        addMagnitude(scale, L[q] * S[q]);
}

/// The terms of block row r from `count` blocks side by side.
template <class T>
void addRowTerms(const PanelFactorization<T>& m, unsigned int r, unsigned int slot,
                 unsigned int first, unsigned int count)
{
    T* const scales = m.pivotScales + m.offsets[r];
    for (unsigned int b = 0; b < count; ++b) {
        const unsigned int s = m.sizes[first + b];
        for (unsigned int i = 0; i < m.sizes[r]; ++i)
            addTerms(m.L[slot + b] + i * s, m.S[slot + b] + i * s, s, scales[i]);
    }
}

/// The terms of block row c from the columns of its own panel, its diagonal block included.
///
/// @param slot   of the first of them
/// @param first  its column
template <class T>
void addOwnTerms(const PanelFactorization<T>& m, unsigned int c, unsigned int slot,
                 unsigned int first)
{
    addRowTerms(m, c, slot, first, c - first);
    const unsigned int diagonal = slot + (c - first);
    const unsigned int n = m.sizes[c];
    for (unsigned int i = 1; i < n; ++i)
        addTerms(m.L[diagonal] + i * n, m.S[diagonal] + i * n, i, m.pivotScales[m.offsets[c] + i]);
}
