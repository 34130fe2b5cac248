#include "BlockLDLTImpl.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

Status checkThreads(unsigned int threads)
{
    if (threads >= 1 && threads <= kMaxOwners)
        return {};
    return {StatusCode::InvalidInput,
            std::to_string(threads) + " threads are outside the range 1 to " +
                std::to_string(kMaxOwners),
            kNone, kNone};
}

template <class T> Status checkCompliance(T c)
{
    if (std::isfinite(c) && c >= 0)
        return {};
    return {StatusCode::InvalidInput, "a compliance has to be zero or positive, and finite", kNone,
            kNone};
}

template <class T> Status checkCompliances(const std::vector<T>& compliances)
{
    for (const T c : compliances) {
        Status result = checkCompliance(c);
        if (!result.ok())
            return result;
    }
    return {};
}

template <class T> Status checkShare(T share)
{
    if (share > T(0) && share < T(1))
        return {};
    return {StatusCode::InvalidInput, "a pivot's share has to lie between 0 and 1", kNone, kNone};
}

template <class T> Status check(const SolverSettings<T>& settings)
{
    Status result = checkThreads(settings.threads);
    if (result.ok())
        result = checkCompliance(settings.compliance);
    if (result.ok())
        result = checkCompliances(settings.compliances);
    return result.ok() ? checkShare(settings.share) : result;
}

} // namespace

template <class T> const Status& BlockLDLT<T>::setThreads(unsigned int threads)
{
    return m_impl->guard([&] {
        Status result = checkThreads(threads);
        if (result.ok()) {
            m_impl->settings.threads = threads;
            m_impl->forgetAnalysis();
        }
        return result;
    });
}

template <class T> void BlockLDLT<T>::setFactorization(Factorization factorization)
{
    m_impl->settings.factorization = factorization;
    m_impl->forgetAnalysis();
}

template <class T> void BlockLDLT<T>::setWaiting(Waiting waiting)
{
    m_impl->settings.waiting = waiting;
    m_impl->forgetAnalysis();
}

template <class T> void BlockLDLT<T>::setOrdering(Ordering ordering)
{
    m_impl->settings.ordering = ordering;
    m_impl->forgetAnalysis();
}

template <class T> void BlockLDLT<T>::setOrder(std::vector<unsigned int> order)
{
    m_impl->settings.order.swap(order);
    setOrdering(Ordering::User);
}

template <class T> void BlockLDLT<T>::setCacheSize(std::size_t patterns)
{
    m_impl->settings.cacheSize = std::max<std::size_t>(patterns, 1);
    if (m_impl->systems.size() > m_impl->settings.cacheSize)
        m_impl->systems.resize(m_impl->settings.cacheSize);
}

template <class T> void BlockLDLT<T>::setSigns(Signs signs)
{
    m_impl->settings.signs = signs;
}

template <class T> const Status& BlockLDLT<T>::setCompliance(T c)
{
    return m_impl->guard([&] {
        Status result = checkCompliance(c);
        if (result.ok()) {
            m_impl->settings.compliance = c;
            m_impl->settings.compliances.clear();
        }
        return result;
    });
}

template <class T> const Status& BlockLDLT<T>::setCompliance(std::vector<T> perTrailingBlock)
{
    return m_impl->guard([&] {
        Status result = checkCompliances(perTrailingBlock);
        if (result.ok()) {
            m_impl->settings.compliance = 0;
            m_impl->settings.compliances.swap(perTrailingBlock);
        }
        return result;
    });
}

template <class T>
const Status& BlockLDLT<T>::setRegularization(Regularization regularization, T share)
{
    return m_impl->guard([&] {
        Status result = checkShare(share);
        if (result.ok()) {
            m_impl->settings.regularization = regularization;
            m_impl->settings.share = share;
        }
        return result;
    });
}

template <class T> void BlockLDLT<T>::setCorrections(int steps)
{
    m_impl->settings.corrections = steps;
}

template <class T> const SolverSettings<T>& BlockLDLT<T>::settings() const
{
    return m_impl->settings;
}

template <class T> const Status& BlockLDLT<T>::setSettings(const SolverSettings<T>& settings)
{
    return m_impl->guard([&] {
        Status result = check(settings);
        if (result.ok()) {
            SolverSettings<T> copy = settings;
            m_impl->settings = std::move(copy);
            setCacheSize(settings.cacheSize);
            m_impl->forgetAnalysis();
        }
        return result;
    });
}

template <class T> bool BlockLDLT<T>::isAnalyzed(const BlockMatrix<T>& A) const
{
    return m_impl->analyzed &&
           guardMemory([&] { return m_impl->system().pattern.compare(A); }).ok();
}

template <class T> bool BlockLDLT<T>::isFactored() const
{
    return m_impl->factorized;
}

#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template const Status& BlockLDLT<T>::setThreads(unsigned int);                                 \
    template void BlockLDLT<T>::setFactorization(Factorization);                                   \
    template void BlockLDLT<T>::setWaiting(Waiting);                                               \
    template void BlockLDLT<T>::setOrdering(Ordering);                                             \
    template void BlockLDLT<T>::setOrder(std::vector<unsigned int>);                               \
    template void BlockLDLT<T>::setCacheSize(std::size_t);                                         \
    template void BlockLDLT<T>::setSigns(Signs);                                                   \
    template const Status& BlockLDLT<T>::setCompliance(T);                                         \
    template const Status& BlockLDLT<T>::setCompliance(std::vector<T>);                            \
    template const Status& BlockLDLT<T>::setRegularization(Regularization, T);                     \
    template void BlockLDLT<T>::setCorrections(int);                                               \
    template const SolverSettings<T>& BlockLDLT<T>::settings() const;                              \
    template const Status& BlockLDLT<T>::setSettings(const SolverSettings<T>&);                    \
    template bool BlockLDLT<T>::isAnalyzed(const BlockMatrix<T>&) const;                           \
    template bool BlockLDLT<T>::isFactored() const;
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
