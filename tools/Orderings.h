#ifndef ORVEL_ORDERINGS_H
#define ORVEL_ORDERINGS_H

#include <kyrOrvelClient/Analysis>

#include <string>

namespace orvel {

/// The ordering of one of orderingNames().
kyrOrvel::client::Ordering orderingOf(const std::string& name);

} // namespace orvel

#endif
