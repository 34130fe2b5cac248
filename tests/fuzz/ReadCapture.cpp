// Captures: as they are, and with the length and checksum that fit, so that what stands inside is
// looked at too. One that is taken is the same file when it is written again.

#include "Fuzz.h"

#include "capture/Bytes.h"
#include "capture/CaptureFormat.h"
#include "capture/Fnv.h"

#include <string_view>

using kyrOrvel::client::Capture;
using kyrOrvel::client::Status;

namespace {

void readCapture(std::string_view bytes)
{
    Capture capture;
    const Status status = kyrOrvel::client::decodeCapture(fuzz::kPath, bytes, capture);
    if (status.ok())
        fuzz::require(kyrOrvel::client::encodeCapture(capture) == bytes,
                      "a capture has one form only");
    else
        fuzz::requireRefusal(status);
}

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

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    readCapture(bytes);
    if (size >= kyrOrvel::client::kCaptureHeader + kyrOrvel::client::kCaptureChecksum)
        readCapture(sealed(bytes));
    return 0;
}
