#include "BlockLDLTImpl.h"

#include <utility>

namespace kyrOrvel {
namespace client {

template <class T> SolverSettings<T> BlockLDLT<T>::settings() const
{
    SolverSettings<T> result;
    result.threads = m_impl->settings.threads;
    result.factorization = m_impl->settings.factorization;
    result.waiting = m_impl->settings.waiting;
    result.ordering = m_impl->settings.ordering;
    result.order = m_impl->settings.userOrder;
    result.signs = m_impl->signs;
    result.compliance = m_impl->compliance;
    result.compliances = m_impl->compliances;
    result.regularization = m_impl->regularization;
    result.share = m_impl->regularizationShare;
    result.corrections = m_impl->corrections;
    result.cacheSize = m_impl->cacheSize;
    return result;
}

/// They are tried on a solver of their own first.
template <class T> const Status& BlockLDLT<T>::setSettings(const SolverSettings<T>& settings)
{
    return m_impl->guard([&]() -> Status {
        BlockLDLT<T> other;
        Status result = other.setThreads(settings.threads);
        if (result.ok())
            result = other.setCompliance(settings.compliance);
        if (result.ok() && !settings.compliances.empty())
            result = other.setCompliance(settings.compliances);
        if (result.ok())
            result = other.setRegularization(settings.regularization, settings.share);
        if (!result.ok())
            return result;
        m_impl->settings = {settings.ordering, settings.order, settings.factorization,
                            settings.waiting, settings.threads};
        m_impl->signs = settings.signs;
        m_impl->compliance = other.m_impl->compliance;
        m_impl->compliances.swap(other.m_impl->compliances);
        m_impl->regularization = settings.regularization;
        m_impl->regularizationShare = settings.share;
        setCorrections(settings.corrections);
        setCacheSize(settings.cacheSize);
        m_impl->forgetAnalysis();
        return {};
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
    template SolverSettings<T> BlockLDLT<T>::settings() const;                                     \
    template const Status& BlockLDLT<T>::setSettings(const SolverSettings<T>&);                    \
    template bool BlockLDLT<T>::isAnalyzed(const BlockMatrix<T>&) const;                           \
    template bool BlockLDLT<T>::isFactored() const;
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
