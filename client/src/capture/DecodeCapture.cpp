#include "Bytes.h"
#include "CaptureFormat.h"
#include "Fnv.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

Status refused(const std::string& path, const std::string& why)
{
    return {StatusCode::InvalidInput, path + ": " + why, kNone, kNone};
}

Status cutOff(const std::string& path, std::uint64_t have, std::uint64_t need)
{
    return refused(path, "the capture is cut off: the file has " + std::to_string(have) +
                             " of at least " + std::to_string(need) + " bytes");
}

std::uint64_t checksumOf(std::string_view bytes)
{
    Fnv checksum;
    checksum.add(bytes);
    return checksum.value();
}

/// Looks at what stands around the sections: kind, version, length, checksum.
Status checkEnvelope(const std::string& path, std::string_view bytes)
{
    constexpr std::size_t kLeast = kCaptureHeader + kCaptureChecksum;
    const std::string_view begin = bytes.substr(0, kCaptureMagicSize);
    if (begin != std::string_view(kCaptureMagic).substr(0, begin.size()))
        return refused(path, "not a capture: the file should begin with 'orvelcap'");
    if (bytes.size() < kLeast)
        return cutOff(path, bytes.size(), kLeast);
    ByteReader in(bytes.substr(kCaptureMagicSize));
    const std::uint32_t version = in.word();
    if (version != kCaptureVersion)
        return refused(path, "the capture has version " + std::to_string(version) +
                                 " of the format, and this program reads version " +
                                 std::to_string(kCaptureVersion));
    in.word(); // the scalar type, looked at later
    const std::uint64_t length = in.longWord();
    if (length > bytes.size())
        return cutOff(path, bytes.size(), length);
    if (length < bytes.size())
        return refused(path, "there is more after the " + std::to_string(length) +
                                 " bytes of the capture");
    const std::size_t content = bytes.size() - kCaptureChecksum;
    if (ByteReader(bytes.substr(content)).longWord() != checksumOf(bytes.substr(0, content)))
        return refused(path, "the capture is damaged: its checksum differs");
    return {};
}

/// Every word is 4 bytes in the file as in memory.
std::vector<unsigned int> readWords(ByteReader& in, const char* what)
{
    std::vector<unsigned int> words(in.count(4, what));
    for (unsigned int& word : words)
        word = in.word();
    return words;
}

template <class T> T readCompliance(ByteReader& in)
{
    const T c = in.scalar<T>();
    const bool isCompliance = std::isfinite(c) && c >= 0;
    if (!isCompliance)
        in.fail("a compliance is negative or not finite");
    return c;
}

template <class T> void readSettings(ByteReader& in, SolverSettings<T>& settings)
{
    constexpr std::uint32_t kMaxThreads = 255;
    settings.threads = in.choice(kMaxThreads, "the number of threads");
    if (settings.threads == 0)
        in.fail("the number of threads is 0");
    settings.factorization = static_cast<Factorization>(
        in.choice(static_cast<std::uint32_t>(Factorization::Parallel), "the factorization"));
    settings.waiting = static_cast<Waiting>(
        in.choice(static_cast<std::uint32_t>(Waiting::Spinning), "the way of waiting"));
    settings.ordering = static_cast<Ordering>(
        in.choice(static_cast<std::uint32_t>(Ordering::Best), "the ordering"));
    settings.signs = static_cast<Signs>(
        in.choice(static_cast<std::uint32_t>(Signs::Any), "the choice of signs"));
    settings.regularization = static_cast<Regularization>(
        in.choice(static_cast<std::uint32_t>(Regularization::Dynamic), "the regularization"));
    settings.corrections = static_cast<int>(in.word());
    const std::uint64_t cacheSize = in.longWord();
    settings.cacheSize = static_cast<std::size_t>(cacheSize);
    if (cacheSize < 1 || cacheSize != settings.cacheSize)
        in.fail("the size of the cache is " + std::to_string(cacheSize));
    settings.share = in.scalar<T>();
    const bool isShare = settings.share > T(0) && settings.share < T(1);
    if (!isShare)
        in.fail("the pivots' share is not between 0 and 1");
    settings.compliance = readCompliance<T>(in);
    settings.compliances.resize(in.count(sizeof(T), "compliances"));
    for (T& c : settings.compliances)
        c = readCompliance<T>(in);
    settings.order = readWords(in, "places of an order");
}

/// Block row r of the pattern. Blocks are made at once, as long as the file can hold their values.
///
/// @param room  scalars that can still come
template <class T>
void readRow(ByteReader& in, unsigned int r, std::uint64_t& room, BlockMatrix<T>& A)
{
    const std::size_t blocks = in.count(4, "blocks in a row");
    unsigned int next = 0;
    for (std::size_t i = 0; in.ok() && i < blocks; ++i) {
        const unsigned int c = in.word();
        if (c < next || c > r)
            return in.fail("the columns of block row " + std::to_string(r) +
                           " do not ascend up to the diagonal");
        const std::uint64_t size = std::uint64_t(A.blockSize(r)) * A.blockSize(c);
        if (size > room)
            return in.fail("block (" + std::to_string(r) + ", " + std::to_string(c) +
                           ") is too large for the file");
        room -= size;
        A.block(r, c);
        next = c + 1;
    }
}

template <class T> void readPattern(ByteReader& in, std::uint64_t room, BlockMatrix<T>& A)
{
    constexpr std::size_t kRowLength = 8;
    std::vector<unsigned int> sizes = readWords(in, "blocks");
    const auto n = static_cast<std::uint32_t>(sizes.size());
    if (sizes.size() > std::numeric_limits<std::uint32_t>::max() / 2 ||
        sizes.size() > in.remaining() / kRowLength)
        in.fail("it claims " + std::to_string(sizes.size()) + " blocks without rows");
    const std::uint32_t firstTrailing = in.choice(n, "the first trailing block");
    const bool hasIds = in.flag("the mark of ids");
    if (hasIds && n == 0)
        in.fail("there are ids and no blocks");
    if (!in.ok())
        return;
    A = BlockMatrix<T>(std::move(sizes), firstTrailing);
    for (unsigned int b = 0; hasIds && in.ok() && b < n; ++b)
        A.setId(b, in.longWord());
    for (unsigned int r = 0; in.ok() && r < n; ++r)
        readRow(in, r, room, A);
}

template <class T> void readValues(ByteReader& in, BlockMatrix<T>& A)
{
    for (unsigned int r = 0; in.ok() && r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const std::size_t size = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            for (std::size_t i = 0; i < size; ++i)
                entry.values[i] = in.scalar<T>();
        }
}

template <class T> void readRightHandSide(ByteReader& in, CapturedSystem<T>& system)
{
    system.hasRightHandSide = in.flag("the mark of a right-hand side");
    if (!system.hasRightHandSide)
        return;
    if (system.matrix.dimension() != in.remaining() / sizeof(T))
        return in.fail("it has another length than the matrix");
    system.rightHandSide.resize(system.matrix.dimension());
    for (T& value : system.rightHandSide)
        value = in.scalar<T>();
}

Dependency readDependency(ByteReader& in)
{
    Dependency dependency;
    dependency.block = in.word();
    dependency.row = in.word();
    dependency.coefficient = in.scalar<double>();
    dependency.id = in.longWord();
    return dependency;
}

void readStatus(ByteReader& in, Status& status)
{
    constexpr std::size_t kDependencySize = 24;
    status.code = static_cast<StatusCode>(
        in.choice(static_cast<std::uint32_t>(StatusCode::CallSequence), "the status"));
    status.block = in.word();
    status.row = in.word();
    status.id = in.longWord();
    status.compliance = in.scalar<double>();
    status.dependsOn.resize(in.count(kDependencySize, "rows that one depends on"));
    for (Dependency& dependency : status.dependsOn)
        dependency = readDependency(in);
    status.message = in.text(in.count(1, "characters"));
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; };
    if (std::any_of(status.message.begin(), status.message.end(), isControl))
        in.fail("the message holds control characters");
}

void readOutcome(ByteReader& in, bool& byValues, CapturedOutcome& outcome)
{
    readStatus(in, outcome.status);
    byValues = in.flag("the mark of an order by values");
    outcome.factored = in.flag("the mark of a factor");
    outcome.solved = in.flag("the mark of a solution");
    outcome.order = readWords(in, "places of an order");
    outcome.pattern = in.longWord();
    outcome.L = in.longWord();
    outcome.D = in.longWord();
    outcome.x = in.longWord();
}

/// Takes a section apart, which `read` has to use up.
template <class Read> void readSection(ByteReader& file, CaptureSection which, Read read)
{
    ByteReader in(file.text(file.count(1, "bytes in a section")));
    if (!file.ok())
        return;
    read(in);
    if (in.remaining() > 0)
        in.fail("it is longer than its content");
    if (!in.ok())
        file.fail(std::string("its section '") + kCaptureSections[static_cast<std::size_t>(which)] +
                  "' is wrong: " + in.error());
}

template <class T> void readSystem(ByteReader& file, Capture& capture)
{
    CapturedSystem<T> system;
    BlockMatrix<T>& A = system.matrix;
    const std::uint64_t room = file.remaining() / sizeof(T);
    readSection(file, CaptureSection::Settings,
                [&](ByteReader& in) { readSettings(in, system.settings); });
    readSection(file, CaptureSection::Pattern, [&](ByteReader& in) { readPattern(in, room, A); });
    readSection(file, CaptureSection::Values, [&](ByteReader& in) { readValues(in, A); });
    readSection(file, CaptureSection::RightHandSide,
                [&](ByteReader& in) { readRightHandSide(in, system); });
    readSection(file, CaptureSection::Outcome,
                [&](ByteReader& in) { readOutcome(in, system.byValues, capture.outcome); });
    capture.system = std::move(system);
}

} // namespace

Status decodeCapture(const std::string& path, std::string_view bytes, Capture& capture)
{
    Status status = checkEnvelope(path, bytes);
    if (!status.ok())
        return status;
    Capture result;
    ByteReader in(bytes.substr(0, bytes.size() - kCaptureChecksum));
    in.text(kCaptureMagicSize);
    in.word(); // the version
    const std::uint32_t scalarSize = in.word();
    in.longWord(); // the length
    if (scalarSize == sizeof(double))
        readSystem<double>(in, result);
    else if (scalarSize == sizeof(float))
        readSystem<float>(in, result);
    else
        in.fail("its scalars have " + std::to_string(scalarSize) + " bytes, neither 4 nor 8");
    if (in.remaining() > 0)
        in.fail("there is more after its sections");
    if (!in.ok())
        return refused(path, "the capture cannot be used: " + in.error());
    capture = std::move(result);
    return {};
}

} // namespace client
} // namespace kyrOrvel
