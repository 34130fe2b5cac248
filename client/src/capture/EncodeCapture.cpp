#include "Bytes.h"
#include "CaptureFormat.h"
#include "Fnv.h"

namespace kyrOrvel {
namespace client {

namespace {

/// Writes a section's length in front of what `content` writes.
template <class Content> void writeSection(ByteWriter& out, Content content)
{
    const std::size_t place = out.size();
    out.longWord(0);
    content();
    out.setLongWord(place, out.size() - place - 8);
}

void writeWords(ByteWriter& out, const std::vector<unsigned int>& words)
{
    out.longWord(words.size());
    for (const unsigned int word : words)
        out.word(word);
}

template <class T> void writeSettings(ByteWriter& out, const SolverSettings<T>& settings)
{
    out.word(settings.threads);
    out.word(static_cast<std::uint32_t>(settings.factorization));
    out.word(static_cast<std::uint32_t>(settings.waiting));
    out.word(static_cast<std::uint32_t>(settings.ordering));
    out.word(static_cast<std::uint32_t>(settings.signs));
    out.word(static_cast<std::uint32_t>(settings.regularization));
    out.word(static_cast<std::uint32_t>(settings.corrections));
    out.longWord(settings.cacheSize);
    out.scalar(settings.share);
    out.scalar(settings.compliance);
    out.longWord(settings.compliances.size());
    for (const T c : settings.compliances)
        out.scalar(c);
    writeWords(out, settings.order);
}

template <class T> void writePattern(ByteWriter& out, const BlockMatrix<T>& A)
{
    writeWords(out, A.blockSizes());
    out.word(A.firstTrailing());
    out.word(A.hasIds() ? 1 : 0);
    for (unsigned int b = 0; A.hasIds() && b < A.numBlockRows(); ++b)
        out.longWord(A.id(b));
    for (unsigned int r = 0; r < A.numBlockRows(); ++r) {
        out.longWord(A.row(r).size());
        for (const auto& entry : A.row(r))
            out.word(entry.column);
    }
}

template <class T> void writeValues(ByteWriter& out, const BlockMatrix<T>& A)
{
    for (unsigned int r = 0; r < A.numBlockRows(); ++r)
        for (const auto& entry : A.row(r)) {
            const std::size_t size = std::size_t(A.blockSize(r)) * A.blockSize(entry.column);
            for (std::size_t i = 0; i < size; ++i)
                out.scalar(entry.values[i]);
        }
}

void writeStatus(ByteWriter& out, const Status& status)
{
    out.word(static_cast<std::uint32_t>(status.code));
    out.word(status.block);
    out.word(status.row);
    out.longWord(status.id);
    out.scalar(status.compliance);
    out.longWord(status.dependsOn.size());
    for (const Dependency& dependency : status.dependsOn) {
        out.word(dependency.block);
        out.word(dependency.row);
        out.scalar(dependency.coefficient);
        out.longWord(dependency.id);
    }
    out.longWord(status.message.size());
    out.text(status.message);
}

void writeOutcome(ByteWriter& out, bool byValues, const CapturedOutcome& outcome)
{
    writeStatus(out, outcome.status);
    out.word(byValues ? 1 : 0);
    out.word(outcome.factored ? 1 : 0);
    out.word(outcome.solved ? 1 : 0);
    writeWords(out, outcome.order);
    out.longWord(outcome.pattern);
    out.longWord(outcome.L);
    out.longWord(outcome.D);
    out.longWord(outcome.x);
}

} // namespace

template <class T>
std::string encodeCapture(const BlockMatrix<T>& A, const SolverSettings<T>& settings, bool byValues,
                          bool hasRightHandSide, const T* b, const CapturedOutcome& outcome)
{
    ByteWriter out;
    out.text(kCaptureMagic);
    out.word(kCaptureVersion);
    out.word(sizeof(T));
    out.longWord(0);
    writeSection(out, [&] { writeSettings(out, settings); });
    writeSection(out, [&] { writePattern(out, A); });
    writeSection(out, [&] { writeValues(out, A); });
    writeSection(out, [&] {
        out.word(hasRightHandSide ? 1 : 0);
        for (std::size_t i = 0; hasRightHandSide && i < A.dimension(); ++i)
            out.scalar(b[i]);
    });
    writeSection(out, [&] { writeOutcome(out, byValues, outcome); });
    out.setLongWord(kCaptureLengthPlace, out.size() + kCaptureChecksum);
    Fnv checksum;
    checksum.add(std::string_view(out.bytes()));
    out.longWord(checksum.value());
    return std::move(out.bytes());
}

std::string encodeCapture(const Capture& capture)
{
    return std::visit(
        [&](const auto& system) {
            return encodeCapture(system.matrix, system.settings, system.byValues,
                                 system.hasRightHandSide, system.rightHandSide.data(),
                                 capture.outcome);
        },
        capture.system);
}

template std::string encodeCapture(const BlockMatrix<float>&, const SolverSettings<float>&, bool,
                                   bool, const float*, const CapturedOutcome&);
template std::string encodeCapture(const BlockMatrix<double>&, const SolverSettings<double>&, bool,
                                   bool, const double*, const CapturedOutcome&);

} // namespace client
} // namespace kyrOrvel
