#include "../io/TextFile.h"
#include "../io/WholeFile.h"
#include "../numeric/BlockLDLTImpl.h"
#include "CaptureFormat.h"
#include "Outcome.h"

#include <utility>

namespace kyrOrvel {
namespace client {

namespace {

/// An analysis that failed is taken for one by compute: failures without values are the same.
template <class T> bool wasByValues(const BlockLDLT<T>& solver, const BlockMatrix<T>& A)
{
    return !solver.isAnalyzed(A) || solver.analysis().byValues;
}

bool isAboutTheSystem(StatusCode code)
{
    return code != StatusCode::PatternMismatch && code != StatusCode::CallSequence &&
           code != StatusCode::OutOfMemory;
}

} // namespace

template <class T>
Status writeCapture(const std::string& path, const BlockLDLT<T>& solver, const BlockMatrix<T>& A,
                    const T* b, const T* x)
{
    return guardMemory([&] {
        const CapturedOutcome outcome = outcomeOf(solver, A, b && x, x);
        return writeWholeFile(path, encodeCapture(A, solver.settings(), wasByValues(solver, A),
                                                  b != nullptr, b, outcome));
    });
}

template <class T> const Status& BlockLDLT<T>::captureOnFailure(std::string path)
{
    return m_impl->guard([&] {
        m_impl->capturePath.swap(path);
        return Status();
    });
}

template <class T> const Status& BlockLDLT<T>::captureInfo() const
{
    return m_impl->captureStatus;
}

/// Returns info(), which is that of the step.
template <class T> const Status& BlockLDLT<T>::captureFailure(const BlockMatrix<T>& A)
{
    const Status& status = info();
    if (!status.ok() && !m_impl->capturePath.empty() && isAboutTheSystem(status.code))
        m_impl->captureStatus = writeCapture<T>(m_impl->capturePath, *this, A);
    return status;
}

Status writeCapture(const std::string& path, const Capture& capture)
{
    return guardMemory([&] { return writeWholeFile(path, encodeCapture(capture)); });
}

Status readCapture(const std::string& path, Capture& capture)
{
    return guardMemory([&] {
        std::string bytes;
        Status status = readTextFile(path, bytes);
        return status.ok() ? decodeCapture(path, bytes, capture) : status;
    });
}

#define KYRORVEL_INSTANTIATE(T)                                                                    \
    template Status writeCapture(const std::string&, const BlockLDLT<T>&, const BlockMatrix<T>&,   \
                                 const T*, const T*);                                              \
    template const Status& BlockLDLT<T>::captureOnFailure(std::string);                            \
    template const Status& BlockLDLT<T>::captureInfo() const;                                      \
    template const Status& BlockLDLT<T>::captureFailure(const BlockMatrix<T>&);
KYRORVEL_INSTANTIATE(float)
KYRORVEL_INSTANTIATE(double)
#undef KYRORVEL_INSTANTIATE

} // namespace client
} // namespace kyrOrvel
