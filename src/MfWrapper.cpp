#include <kyrOrvel/MultifrontManager>

#include "detail/BlockSteps.h"
#include "detail/FactorPath.h"
#include "detail/PivotBound.h"
#include "detail/UpdateSearch.h"

#include <kyr/Thread>
#include <kyrOrvel/DenseKernels>
#include <kyrOrvel/Orvel>

#include <algorithm>
#include <cstddef>
#include <deque>

namespace kyrOrvel {

namespace {

/// The index of the calling thread. One that the core library did not make counts as the main one.
unsigned int callingThread()
{
    const auto* thread = dynamic_cast<const kyr::Thread*>(OpenThreads::Thread::CurrentThread());
    return thread ? thread->getIndex() : kyr::Thread::s_threads.front()->getIndex();
}

/// Dense L·D·Lᵀ of the m × m diagonal front F in place: unit lower triangle, zeros above.
template <class T>
void factorDiagonalFront(T* F, T* d, const detail::PivotBound<T>& bound, std::size_t m)
{
    for (std::size_t j = 0; j < m; ++j) {
        d[j] = F[j * m + j];
        F[j * m + j] = T(1);
    }
    if (m > 0)
        bound.apply(d, 0);
    for (std::size_t i = 1; i < m; ++i) {
        T* f = F + i * m;
        for (std::size_t j = 0; j < i; ++j) {
            const T* fj = F + j * m;
            for (std::size_t p = 0; p < j; ++p)
                f[j] -= d[p] * f[p] * fj[p];
            f[j] = f[j] / d[j];
        }
        for (std::size_t p = 0; p < i; ++p)
            d[i] -= f[p] * d[p] * f[p];
        bound.apply(d, i);
    }
    for (std::size_t i = 0; i < m; ++i)
        std::fill(F + i * m + i + 1, F + (i + 1) * m, T(0));
}

/// Nobody waits for a node without an update list.
template <class Node> void finishNode(Node& node)
{
    if (!node.updates) {
        node.done = 1;
        return;
    }
    node.sync->mutex.lock();
    node.done = 1;
    node.sync->condition.signal();
    node.sync->mutex.unlock();
}

/// The work of one thread: its nodes in depth-first post-order of its own subtrees.
template <class T> class FrontWorker {
public:
    using Node = typename MultifrontManager<T>::Node;
    using UpdateEntry = typename MultifrontManager<T>::UpdateEntry;

    explicit FrontWorker(OrvelData<T>& data)
        : m_data(data),
          m_nodes(data.multifront.nodes),
          m_tree(data.eliminationTree),
          m_pattern(data.columnPattern),
          m_sizes(data.matrix.blockSizes),
          m_me(callingThread())
    {
    }

    void run()
    {
        const unsigned int n = m_pattern.numBlockRows;
        m_marks = m_data.scratch.getUCharArray(m_me, n);
        std::fill_n(m_marks, n, static_cast<unsigned char>(kUnseen));
        m_cursor = m_data.scratch.getIntArray(m_me, static_cast<unsigned long>(n) + 1);
        if (n > 0)
            std::copy_n(m_data.factor.rowStart, static_cast<std::size_t>(n) + 1, m_cursor);
        for (const auto& [node, thread] : m_data.multifront.assignment)
            if (thread == m_me)
                factorRegion(node);
    }

private:
    enum Mark : unsigned char { kUnseen, kPushed, kTaken };

    bool isMine(unsigned int node) const { return m_nodes[node].owner == m_me; }
    const unsigned int* entriesOf(unsigned int node) const
    {
        return m_pattern.columnIndices + m_pattern.rowStart[node];
    }
    unsigned int countOf(unsigned int node) const
    {
        return m_pattern.rowStart[node + 1] - m_pattern.rowStart[node];
    }

    void push(unsigned int node)
    {
        m_marks[node] = kPushed;
        m_stack.push_back(node);
    }

    /// Factors the nodes of this thread that hang together below `top`.
    void factorRegion(unsigned int top)
    {
        push(top);
        while (!m_stack.empty()) {
            descend();
            const unsigned int k = m_stack.back();
            factorNode(k);
            finishNode(m_nodes[k]);
            m_stack.pop_back();
            if (!m_stack.empty())
                pushNextSibling(k);
        }
    }

    /// Follows the first child that is this thread's and not done, at each level. `done` is read of
    /// own nodes only, so no lock is needed.
    void descend()
    {
        unsigned int c = m_tree.firstChild[m_stack.back()];
        while (c != kNone) {
            if (isMine(c) && !m_nodes[c].done) {
                if (m_marks[c] == kUnseen)
                    push(c);
                c = m_tree.firstChild[c];
            } else {
                c = m_tree.nextSibling[c];
            }
        }
    }

    void pushNextSibling(unsigned int k)
    {
        for (unsigned int s = m_tree.nextSibling[k]; s != kNone; s = m_tree.nextSibling[s]) {
            if (isMine(s) && m_marks[s] == kUnseen) {
                push(s);
                return;
            }
        }
    }

    void factorNode(unsigned int k)
    {
        const FactorTrace::Clock::time_point begin = now();
        m_marks[k] = kTaken;
        m_outOfOrder = k < m_highest;
        m_highest = std::max(m_highest, k);
        assemble(k);
        if (m_nodes[k].gather)
            gather(k);
        // Front k now holds A(k:, k) minus the sum of L·D·Lᵀ of its descendants.
        factorDiagonal(k);
        for (unsigned int i = 1; i < countOf(k); ++i)
            factorOffDiagonal(k, i);
        update(k);
        record(k, false, begin, now());
    }

    FactorTrace::Clock::time_point now() const
    {
        return m_data.trace ? FactorTrace::Clock::now() : FactorTrace::Clock::time_point();
    }

    void record(unsigned int node, bool waiting, FactorTrace::Clock::time_point begin,
                FactorTrace::Clock::time_point end) const
    {
        if (m_data.trace)
            m_data.trace->threads[m_me].push_back({node, waiting, begin, end});
    }

    /// Adds A's block column k, which is row k in upper block-row order, to the front.
    void assemble(unsigned int k)
    {
        const SparseMatrix<T>& A = m_data.matrix;
        const unsigned int* const entries = entriesOf(k);
        unsigned int i = 0;
        for (unsigned int slot = A.rowStart[k]; slot < A.rowStart[k + 1]; ++slot) {
            while (entries[i] != A.blockColumns[slot])
                ++i;
            const std::size_t n = std::size_t(m_sizes[entries[i]]) * m_sizes[k];
            T* const block = front(k, i);
            for (std::size_t e = 0; e < n; ++e)
                block[e] += A.blockData[slot][e];
        }
    }

    /// Takes over the update lists of children with other owners, in sibling order. One wait is
    /// enough: each list is handed over once, by one signal, to one waiter.
    void gather(unsigned int k)
    {
        for (unsigned int c = m_tree.firstChild[k]; c != kNone; c = m_tree.nextSibling[c]) {
            Node& child = m_nodes[c];
            if (child.owner == m_nodes[k].owner)
                continue;
            const FactorTrace::Clock::time_point begin = now();
            child.sync->mutex.lock();
            if (!child.done)
                child.sync->condition.wait(child.sync->mutex);
            const FactorTrace::Clock::time_point end = now();
            m_data.multifront.addUpdateToNode(m_pattern, m_data.matrix, k, c);
            child.sync->mutex.unlock();
            record(c, true, begin, end); // not under the lock: it may throw
        }
    }

    void factorDiagonal(unsigned int k)
    {
        const std::size_t m = m_sizes[k];
        T* const F = front(k, 0);
        T* const d = pivotsOf(k);
        factorDiagonalFront(F, d, detail::PivotBound<T>(m_data, m_data.factor.blockOffsets[k]), m);
        const unsigned int slot = m_data.factor.rowStart[k + 1] - 1;
        std::copy_n(F, m * m, m_data.factor.blockData[slot]);
        detail::scaleColumns(F, d, m_data.scaledFactor.blockData[slot], m, m);
    }

    /// L(r, k)·D(k), then L(r, k), from front block i.
    void factorOffDiagonal(unsigned int k, unsigned int i)
    {
        const unsigned int r = entriesOf(k)[i];
        const std::size_t m = m_sizes[r];
        const std::size_t p = m_sizes[k];
        T* const B = front(k, i);
        const unsigned int slot = slotOf(r, k);
        detail::substituteUnitLower(front(k, 0), B, m, p);
        std::copy_n(B, m * p, m_data.scaledFactor.blockData[slot]);
        detail::divideColumns(B, pivotsOf(k), B, m, p);
        std::copy_n(B, m * p, m_data.factor.blockData[slot]);
    }

    /// Subtracts L(c, k)·(L(a, k)·D(k))ᵀ wherever it belongs: from the fronts of the ancestors a as
    /// long as the way up stays with this thread, from the update list at the border after that.
    void update(unsigned int k)
    {
        const unsigned int* const entries = entriesOf(k);
        unsigned int last = k;
        for (unsigned int i = 1; i < countOf(k); ++i) {
            for (; last != entries[i]; last = m_tree.parent[last]) {
                if (!isMine(m_tree.parent[last])) {
                    updateBorder(k, i, last);
                    return;
                }
            }
            updateFront(k, i);
        }
    }

    /// Updates front a = r_i with the entries i, i+1, ... of k.
    void updateFront(unsigned int k, unsigned int i)
    {
        const unsigned int a = entriesOf(k)[i];
        const unsigned int* const ofK = entriesOf(k);
        const unsigned int* const ofA = entriesOf(a);
        unsigned int j = i;
        unsigned int q = 0;
        openUpdates(k, a);
        while (j < countOf(k) && q < countOf(a)) {
            if (ofK[j] == ofA[q]) {
                addUpdate({front(k, j), front(a, q), m_sizes[ofK[j]]});
                ++j;
                ++q;
            } else if (ofA[q] < ofK[j]) {
                ++q;
            } else {
                ++j;
            }
        }
        closeUpdates();
    }

    /// Updates the list of b, the last node of this thread on the way up, with all pairs of the
    /// entries i, i+1, ... of k.
    void updateBorder(unsigned int k, unsigned int first, unsigned int b)
    {
        const unsigned int* const entries = entriesOf(k);
        detail::UpdateSearch<T> search(*m_nodes[b].updates, entriesOf(b) + 1, countOf(b) - 1);
        for (unsigned int i = first; i < countOf(k); ++i) {
            const unsigned int r = entries[i];
            search.startColumn(r);
            openUpdates(k, r);
            for (unsigned int j = i; j < countOf(k); ++j)
                addUpdate({front(k, j), search.find(entries[j], r), m_sizes[entries[j]]});
            closeUpdates();
        }
    }

    /// From here to closeUpdates, C -= L(c, k)·S(a, k)ᵀ for what is added, C size(c) × size(a).
    void openUpdates(unsigned int k, unsigned int a)
    {
        m_scaled = m_data.scaledFactor.blockData[slotOf(a, k)];
        m_width = m_sizes[a];
        m_depth = m_sizes[k];
    }

    void addUpdate(const detail::FrontTarget<T>& target)
    {
        m_targets[m_numTargets++] = target;
        if (m_numTargets == kMaxTargets)
            closeUpdates();
    }

    void closeUpdates()
    {
        if (m_fast && m_depth <= detail::kMaxFrontDepth) {
            m_fast->updateFront(m_scaled, m_width, m_depth, m_targets, m_numTargets);
        } else {
            for (unsigned int t = 0; t < m_numTargets; ++t)
                orvel_MM_CM_ABt(m_targets[t].L, int(m_depth), m_scaled, int(m_depth),
                                m_targets[t].C, int(m_width), int(m_targets[t].rows), int(m_width),
                                int(m_depth));
        }
        m_numTargets = 0;
    }

    /// The slot of column k in row r of the factor. Columns come in ascending order unless this
    /// thread has been further up before; then the row is searched from its end.
    unsigned int slotOf(unsigned int r, unsigned int k)
    {
        const unsigned int* const columns = m_data.factor.blockColumns;
        if (m_outOfOrder) {
            unsigned int slot = m_data.factor.rowStart[r + 1] - 1;
            while (columns[slot] != k)
                --slot;
            return slot;
        }
        while (columns[m_cursor[r]] != k)
            ++m_cursor[r];
        return static_cast<unsigned int>(m_cursor[r]);
    }

    T* front(unsigned int node, unsigned int i) const { return (*m_nodes[node].front)[i]; }
    T* pivotsOf(unsigned int k) const { return m_data.pivots.data + m_data.factor.blockOffsets[k]; }

    OrvelData<T>& m_data;
    Node* m_nodes;
    const EliminationTree& m_tree;
    const SkeletonMatrix& m_pattern;
    const unsigned int* m_sizes;
    unsigned int m_me;
    unsigned char* m_marks = nullptr;
    int* m_cursor = nullptr; ///< per row of the factor: where the search for the next column begins
    unsigned int m_highest = 0; ///< highest node factored so far
    bool m_outOfOrder = false;  ///< the node at hand is below it: the cursors are past it
    std::deque<unsigned int> m_stack;

    // Updates with one block of L·D, handed over together: one call for each would cost as much as
    // the arithmetic.
    static constexpr unsigned int kMaxTargets = 64;
    const detail::FactorFunctions<T>* const m_fast = detail::factorFunctions<T>(); ///< null: plain
    const T* m_scaled = nullptr;                                                   ///< S(a, k)
    unsigned int m_width = 0;                                                      ///< size of a
    unsigned int m_depth = 0;                                                      ///< size of k
    unsigned int m_numTargets = 0;
    detail::FrontTarget<T> m_targets[kMaxTargets];
};

/// Lets go on who waits for a node of this thread, which ran out of memory: what they gather from
/// it is incomplete, but the factorization fails, instead of never ending.
template <class T> void releaseWaiting(OrvelData<T>& data)
{
    const unsigned int me = callingThread();
    for (unsigned int k = 0; k < data.multifront.numNodes; ++k)
        if (data.multifront.nodes[k].owner == me && !data.multifront.nodes[k].done)
            finishNode(data.multifront.nodes[k]);
}

} // namespace

template <class T> void MfWrapper<T>::doThreadedFactor()
{
    try {
        FrontWorker<T>(*data).run();
    } catch (...) {
        releaseWaiting(*data);
        throw;
    }
}

template struct MfWrapper<float>;
template struct MfWrapper<double>;

} // namespace kyrOrvel
