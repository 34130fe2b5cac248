#ifndef KYRORVEL_CLIENT_OUT_OF_MEMORY_H
#define KYRORVEL_CLIENT_OUT_OF_MEMORY_H

#include <kyrOrvelClient/Status>

#include <new>

namespace kyrOrvel {
namespace client {

/// The status of a step that ran out of memory; made without allocating: the message is short
/// enough for a string to hold in itself.
inline Status outOfMemory()
{
    Status status;
    status.code = StatusCode::OutOfMemory;
    status.message = "out of memory";
    return status;
}

/// Runs a step that returns a Status, turning exhausted memory into one.
template <class Step> Status guardMemory(Step step)
{
    try {
        return step();
    } catch (const std::bad_alloc&) {
        return outOfMemory();
    }
}

} // namespace client
} // namespace kyrOrvel

#endif
