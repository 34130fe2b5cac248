#ifndef KYRORVEL_CLIENT_CAPTURE_FORMAT_H
#define KYRORVEL_CLIENT_CAPTURE_FORMAT_H

#include <kyrOrvelClient/Capture>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kyrOrvel {
namespace client {

// The file, all numbers with their lowest byte first:
//
//     8 bytes   "orvelcap"
//     word      version
//     word      bytes of a scalar: 4 or 8
//     long      length of the file
//     sections  long: length, then that many bytes; in the order of CaptureSection
//     long      FNV-1a hash of all before it
//
// A system has one form only: what is read, and written again, is the same file.

constexpr char kCaptureMagic[] = "orvelcap";
constexpr std::size_t kCaptureMagicSize = 8;
constexpr std::uint32_t kCaptureVersion = 1;
constexpr std::size_t kCaptureLengthPlace = 16; ///< of the file's length
constexpr std::size_t kCaptureHeader = 24;
constexpr std::size_t kCaptureChecksum = 8;

enum class CaptureSection { Settings, Pattern, Values, RightHandSide, Outcome };
constexpr const char* kCaptureSections[] = {"settings", "pattern", "values", "right-hand side",
                                            "outcome"};

/// The content of the file for a system.
///
/// @param b  A.dimension() scalars, or null with hasRightHandSide unset
template <class T>
std::string encodeCapture(const BlockMatrix<T>& A, const SolverSettings<T>& settings, bool byValues,
                          bool hasRightHandSide, const T* b, const CapturedOutcome& outcome);

std::string encodeCapture(const Capture& capture);

/// Reads the content of a file; errors name `path`.
Status decodeCapture(const std::string& path, std::string_view bytes, Capture& capture);

} // namespace client
} // namespace kyrOrvel

#endif
