#ifndef KYRORVEL_CLIENT_SETTINGS_H
#define KYRORVEL_CLIENT_SETTINGS_H

#include <kyrOrvelClient/BlockLDLT>

#include <vector>

namespace kyrOrvel {
namespace client {

/// What an analysis depends on beside the pattern.
struct Settings {
    Ordering ordering = Ordering::Automatic;
    std::vector<unsigned int> userOrder;
    Factorization factorization = Factorization::Automatic;
    Waiting waiting = Waiting::Blocking;
    unsigned int threads = 1;

    template <class T> static Settings of(const SolverSettings<T>& all)
    {
        return {all.ordering, all.order, all.factorization, all.waiting, all.threads};
    }

    /// Whether `all` would lead to the same analysis.
    template <class T> bool areOf(const SolverSettings<T>& all) const
    {
        return ordering == all.ordering && userOrder == all.order &&
               factorization == all.factorization && waiting == all.waiting &&
               threads == all.threads;
    }
};

} // namespace client
} // namespace kyrOrvel

#endif
