// Where the command is built without the peers.

#include "Peers.h"

namespace orvel {

bool hasPeers()
{
    return false;
}

void preparePeers()
{
}

int benchPeers(const BenchOptions&, const MatrixInput&)
{
    return kBadInput;
}

} // namespace orvel
