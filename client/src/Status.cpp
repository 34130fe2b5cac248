#include <kyrOrvelClient/Status>

namespace kyrOrvel {
namespace client {

const char* statusName(StatusCode code)
{
    switch (code) {
    case StatusCode::Ok:
        return "Ok";
    case StatusCode::Regularized:
        return "Regularized";
    case StatusCode::Singular:
        return "Singular";
    case StatusCode::WrongSigns:
        return "WrongSigns";
    case StatusCode::NotFinite:
        return "NotFinite";
    case StatusCode::InvalidInput:
        return "InvalidInput";
    case StatusCode::PatternMismatch:
        return "PatternMismatch";
    case StatusCode::TooLarge:
        return "TooLarge";
    case StatusCode::OutOfMemory:
        return "OutOfMemory";
    case StatusCode::Inaccurate:
        return "Inaccurate";
    case StatusCode::CallSequence:
        return "CallSequence";
    }
    return "Unknown";
}

} // namespace client
} // namespace kyrOrvel
