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

    bool operator==(const Settings& other) const
    {
        return ordering == other.ordering && userOrder == other.userOrder &&
               factorization == other.factorization && waiting == other.waiting &&
               threads == other.threads;
    }
};

} // namespace client
} // namespace kyrOrvel

#endif
