#include "Readers.h"

#include "capture/Bytes.h"
#include "capture/CaptureFormat.h"
#include "capture/Fnv.h"

#include <string>
#include <string_view>

namespace fuzz {

using kyrOrvel::client::Capture;
using kyrOrvel::client::Status;

namespace {

/// One that is taken is the same file when it is written again.
void read(std::string_view bytes)
{
    Capture capture;
    const Status status = kyrOrvel::client::decodeCapture(kPath, bytes, capture);
    requireExplained(status);
    if (status.ok())
        require(kyrOrvel::client::encodeCapture(capture) == bytes, "a capture has one form only");
}

/// With the length and the checksum that fit.
std::string sealed(std::string_view bytes)
{
    using namespace kyrOrvel::client;
    ByteWriter out;
    out.text(bytes.substr(0, bytes.size() - kCaptureChecksum));
    out.setLongWord(kCaptureLengthPlace, bytes.size());
    Fnv checksum;
    checksum.add(std::string_view(out.bytes()));
    out.longWord(checksum.value());
    return out.bytes();
}

} // namespace

/// Also sealed, so that what stands inside is looked at.
void readCapture(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    read(bytes);
    if (size >= kyrOrvel::client::kCaptureHeader + kyrOrvel::client::kCaptureChecksum)
        read(sealed(bytes));
}

} // namespace fuzz
