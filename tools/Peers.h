#ifndef ORVEL_PEERS_H
#define ORVEL_PEERS_H

#include "Commands.h"
#include "MatrixInput.h"

namespace orvel {

/// Whether this build knows the peers; see KYRORVEL_BENCH_PEERS.
bool hasPeers();

/// Gives numerical libraries one thread, for which the program may start again.
void preparePeers();

/// Measures this library and its peers on the input by turns, one thread each. Zero diagonals of
/// trailing blocks are replaced for all: most of the peers would meet zero pivots.
int benchPeers(const BenchOptions& options, const MatrixInput& input);

} // namespace orvel

#endif
