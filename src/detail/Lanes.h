// Vectors for the fast factorizations. Included, as are the factorizations themselves, by one
// source for each instruction set, in a namespace of its own. No standard header with code is
// included here or there: a function compiled for AVX-512 must not end up in programs for other
// processors.
//
// All fast ways have the bits of the plain one: only elements that are independent of each other
// share a vector, and multiply and subtract stay separate.

/// A vector as the processor has it.
template <class T, int Bytes> struct NativeVector {
    using type __attribute__((vector_size(Bytes))) = T;
};

/// How a vector is loaded and stored, at any scalar.
template <class V> struct Memory {
    template <class T> [[gnu::always_inline]] static V load(const T* from)
    {
        V v;
        __builtin_memcpy(&v, from, sizeof v);
        return v;
    }
    template <class T> [[gnu::always_inline]] static void store(T* to, const V& v)
    {
        __builtin_memcpy(to, &v, sizeof v);
    }
};

// Steps on vectors are inlined whatever the compiler makes of their number: one that is called
// hands its vectors over by way of memory, and each load waits for the store.

template <class V, class T> [[gnu::always_inline]] inline V loadVector(const T* from)
{
    return Memory<V>::load(from);
}

template <class V, class T> [[gnu::always_inline]] inline void storeVector(T* to, const V& v)
{
    Memory<V>::store(to, v);
}

/// Lanes beyond what one register holds: compilers take such vectors apart by way of memory if it
/// is left to them.
template <class T, int Lanes> struct SeveralVectors {
    static constexpr int kPart = kVectorBytes / int(sizeof(T));
    static constexpr int kParts = Lanes / kPart;
    using Part = typename NativeVector<T, kVectorBytes>::type;

    Part parts[kParts];

    [[gnu::always_inline]] T operator[](unsigned int i) const
    {
        return parts[i / kPart][i % kPart];
    }

    [[gnu::always_inline]] SeveralVectors& operator+=(const SeveralVectors& other)
    {
        for (int p = 0; p < kParts; ++p)
            parts[p] += other.parts[p];
        return *this;
    }
    [[gnu::always_inline]] SeveralVectors& operator-=(const SeveralVectors& other)
    {
        for (int p = 0; p < kParts; ++p)
            parts[p] -= other.parts[p];
        return *this;
    }
    [[gnu::always_inline]] friend SeveralVectors operator*(const SeveralVectors& a,
                                                           const SeveralVectors& b)
    {
        SeveralVectors result;
        for (int p = 0; p < kParts; ++p)
            result.parts[p] = a.parts[p] * b.parts[p];
        return result;
    }
    [[gnu::always_inline]] friend SeveralVectors operator*(const SeveralVectors& a, T factor)
    {
        SeveralVectors result;
        for (int p = 0; p < kParts; ++p)
            result.parts[p] = a.parts[p] * factor;
        return result;
    }
    [[gnu::always_inline]] friend SeveralVectors operator*(T factor, const SeveralVectors& a)
    {
        return a * factor;
    }
    [[gnu::always_inline]] friend SeveralVectors operator/(const SeveralVectors& a, T divisor)
    {
        SeveralVectors result;
        for (int p = 0; p < kParts; ++p)
            result.parts[p] = a.parts[p] / divisor;
        return result;
    }
};

template <class T, int Lanes> struct Memory<SeveralVectors<T, Lanes>> {
    using V = SeveralVectors<T, Lanes>;

    [[gnu::always_inline]] static V load(const T* from)
    {
        V v;
        for (int p = 0; p < V::kParts; ++p)
            v.parts[p] = loadVector<typename V::Part>(from + p * V::kPart);
        return v;
    }
    [[gnu::always_inline]] static void store(T* to, const V& v)
    {
        for (int p = 0; p < V::kParts; ++p)
            storeVector(to + p * V::kPart, v.parts[p]);
    }
};

template <class T, int Lanes, bool Fits = (Lanes * int(sizeof(T)) <= kVectorBytes)> struct Vector {
    using type = typename NativeVector<T, Lanes* int(sizeof(T))>::type;
};
template <class T, int Lanes> struct Vector<T, Lanes, false> {
    using type = SeveralVectors<T, Lanes>;
};

/// Lanes for that many rows of a block.
template <int Rows> constexpr int kLanesFor = Rows <= 4 ? 4 : 8;

/// The bits of a scalar: none eight times, then eight times all but its sign.
template <int Bytes> struct ScalarBits;
template <> struct ScalarBits<4> {
    using type = int;
    static constexpr type kAll = 0x7fffffff;
    static constexpr type masks[16] = {0,    0,    0,    0,    0,    0,    0,    0,
                                       kAll, kAll, kAll, kAll, kAll, kAll, kAll, kAll};
    static constexpr type lanes[16] = {0, 0, 0, 0, 0, 0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1};
    static constexpr float unit[15] = {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
};
template <> struct ScalarBits<8> {
    using type = long long;
    static constexpr type kAll = 0x7fffffffffffffff;
    static constexpr type masks[16] = {0,    0,    0,    0,    0,    0,    0,    0,
                                       kAll, kAll, kAll, kAll, kAll, kAll, kAll, kAll};
    static constexpr type lanes[16] = {0, 0, 0, 0, 0, 0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1};
    static constexpr double unit[15] = {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
};

/// The magnitudes of lanes where a mask, one bit pattern per lane, has all bits; zero elsewhere.
/// Masks come from memory: GCC 12 fails on comparisons of vectors in some builds.
template <class V, class Bits>
[[gnu::always_inline]] inline V maskedMagnitudes(const V& v, const Bits* masks)
{
    using BitVector = typename NativeVector<Bits, int(sizeof(V))>::type;
    return reinterpret_cast<V>(reinterpret_cast<BitVector>(v) & loadVector<BitVector>(masks));
}

template <class T, int Lanes, class Bits>
[[gnu::always_inline]] inline SeveralVectors<T, Lanes>
maskedMagnitudes(const SeveralVectors<T, Lanes>& v, const Bits* masks)
{
    SeveralVectors<T, Lanes> result;
    for (int p = 0; p < v.kParts; ++p)
        result.parts[p] = maskedMagnitudes(v.parts[p], masks + p * v.kPart);
    return result;
}

/// |v| in the lanes beyond `last`, zero in the others; all lanes are beyond -1.
template <class T, class V> [[gnu::always_inline]] inline V magnitudesBeyond(int last, const V& v)
{
    return maskedMagnitudes(v, ScalarBits<sizeof(T)>::masks + (7 - last));
}

/// Lanes of a where a mask has all bits, those of b elsewhere.
template <class V, class Bits>
[[gnu::always_inline]] inline V selectLanes(const V& a, const V& b, const Bits* mask)
{
    using BitVector = typename NativeVector<Bits, int(sizeof(V))>::type;
    const BitVector m = loadVector<BitVector>(mask);
    return reinterpret_cast<V>((reinterpret_cast<BitVector>(a) & m) |
                               (reinterpret_cast<BitVector>(b) & ~m));
}

template <class T, int Lanes, class Bits>
[[gnu::always_inline]] inline SeveralVectors<T, Lanes>
selectLanes(const SeveralVectors<T, Lanes>& a, const SeveralVectors<T, Lanes>& b, const Bits* mask)
{
    SeveralVectors<T, Lanes> result;
    for (int p = 0; p < a.kParts; ++p)
        result.parts[p] = selectLanes(a.parts[p], b.parts[p], mask + p * a.kPart);
    return result;
}

/// a in the lanes beyond `last`, b in the others.
template <class T, class V>
[[gnu::always_inline]] inline V selectBeyond(int last, const V& a, const V& b)
{
    return selectLanes(a, b, ScalarBits<sizeof(T)>::lanes + (7 - last));
}

/// One in a lane, zero in the others.
template <class V, class T> [[gnu::always_inline]] inline V unitLane(int lane)
{
    return loadVector<V>(ScalarBits<sizeof(T)>::unit + (7 - lane));
}

/// A row of Width scalars as long vectors, then one each of 4 and of 2 lanes and a scalar, as far
/// as it needs them: loads and stores that touch nothing beyond it.
template <class T, int Width> struct RowPart {
    static constexpr int kLanes = (kVectorBytes < 32 ? kVectorBytes : 32) / int(sizeof(T));
    static constexpr int kLong = Width / kLanes;
    static constexpr bool kFour = kLanes > 4 && (Width & 4) != 0;
    static constexpr bool kTwo = kLanes > 2 && (Width & 2) != 0;
    static constexpr bool kOne = (Width & 1) != 0;
    static constexpr int kFourAt = kLanes * kLong;
    static constexpr int kTwoAt = kFourAt + (kFour ? 4 : 0);
    static constexpr int kOneAt = kTwoAt + (kTwo ? 2 : 0);
    using VLong = typename Vector<T, kLanes>::type;
    using V4 = typename Vector<T, 4>::type;
    using V2 = typename Vector<T, 2>::type;

    VLong longs[kLong > 0 ? kLong : 1];
    V4 four;
    V2 two;
    T one;

    void load(const T* from)
    {
        for (int f = 0; f < kLong; ++f)
            longs[f] = loadVector<VLong>(from + kLanes * f);
        if (kFour)
            four = loadVector<V4>(from + kFourAt);
        if (kTwo)
            two = loadVector<V2>(from + kTwoAt);
        if (kOne)
            one = from[kOneAt];
    }

    void store(T* to) const
    {
        for (int f = 0; f < kLong; ++f)
            storeVector(to + kLanes * f, longs[f]);
        if (kFour)
            storeVector(to + kFourAt, four);
        if (kTwo)
            storeVector(to + kTwoAt, two);
        if (kOne)
            to[kOneAt] = one;
    }

    void subtract(const RowPart& row, T factor)
    {
        for (int f = 0; f < kLong; ++f)
            longs[f] -= row.longs[f] * factor;
        if (kFour)
            four -= row.four * factor;
        if (kTwo)
            two -= row.two * factor;
        if (kOne)
            one -= row.one * factor;
    }
};

/// A row of Width scalars as long vectors alone: loads read up to kSpareScalars beyond it, stores
/// write nothing there. Vectors of 64 bytes only where they are full: what is left of one is stored
/// scalar by scalar.
template <class T, int Width> struct PaddedRow {
    static constexpr int kShort = kVectorBytes < 32 ? kVectorBytes : 32;
    static constexpr int kLanes =
        (Width * int(sizeof(T)) % kVectorBytes == 0 ? kVectorBytes : kShort) / int(sizeof(T));
    static constexpr int kVectors = (Width + kLanes - 1) / kLanes;
    static constexpr int kFull = Width / kLanes;
    static constexpr int kRest = Width % kLanes;
    static_assert(kVectors * kLanes - Width <= int(kSpareScalars), "loads would read too far");
    using V = typename NativeVector<T, kLanes* int(sizeof(T))>::type;

    V vectors[kVectors];

    [[gnu::always_inline]] void load(const T* from)
    {
#pragma GCC unroll 8
        for (int f = 0; f < kVectors; ++f)
            vectors[f] = loadVector<V>(from + kLanes * f);
    }

    [[gnu::always_inline]] void store(T* to) const
    {
        if constexpr (kFull > 0) // GCC warns of stores in loops that end at once
#pragma GCC unroll 8
            for (int f = 0; f < kFull; ++f)
                storeVector(to + kLanes * f, vectors[f]);
#pragma GCC unroll 8
        for (int i = 0; i < kRest; ++i)
            to[kLanes * kFull + i] = vectors[kVectors - 1][i];
    }

    /// Scalars to multiply rows with, at an address for each vector. A multiplication of 64 bytes
    /// spreads a scalar that it reads from memory at no cost, but an instruction for that alone
    /// takes a multiplication's place: tiles of 6 x 32 take 58 GFLOP/s, not 45 to 50 (Zen 4). Hence
    /// compilers must not know that the addresses are equal, or they would load each scalar once.
    struct Scalars {
        const T* at[kVectors];

        [[gnu::always_inline]] explicit Scalars(const T* scalars) { fill<0>(scalars); }

    private:
        template <int F> [[gnu::always_inline]] void fill(const T* scalars)
        {
            const T* address = scalars;
            if constexpr (kVectors > 1 && kLanes * sizeof(T) == 64)
                asm("" : "+r"(address) : "i"(F)); // not volatile: loads would not join their uses
            at[F] = address;
            if constexpr (F + 1 < kVectors)
                fill<F + 1>(scalars);
        }
    };

    [[gnu::always_inline]] void subtract(const PaddedRow& row, const Scalars& factors,
                                         std::size_t i)
    {
#pragma GCC unroll 8
        for (int f = 0; f < kVectors; ++f)
            vectors[f] -= row.vectors[f] * factors.at[f][i];
    }
};
