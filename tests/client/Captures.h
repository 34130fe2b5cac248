#ifndef KYRORVEL_TESTS_CLIENT_CAPTURES_H
#define KYRORVEL_TESTS_CLIENT_CAPTURES_H

// Captures made and taken apart, for the tests about them.

#include "support/BlockSystems.h"

#include <kyrOrvelClient/Capture>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace captures {

/// A capture that has to be readable.
inline kyrOrvel::client::Capture readBack(const std::string& path)
{
    kyrOrvel::client::Capture capture;
    const kyrOrvel::client::Status status = kyrOrvel::client::readCapture(path, capture);
    EXPECT_TRUE(status.ok()) << status.message;
    return capture;
}

template <class T>
const kyrOrvel::client::CapturedSystem<T>& systemOf(const kyrOrvel::client::Capture& capture)
{
    static const kyrOrvel::client::CapturedSystem<T> none;
    const auto* const system = std::get_if<kyrOrvel::client::CapturedSystem<T>>(&capture.system);
    EXPECT_TRUE(system) << "the capture has the other scalar type";
    return system ? *system : none;
}

inline std::uint64_t fnv(const void* bytes, std::size_t size)
{
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (std::size_t i = 0; i < size; ++i) {
        hash ^= static_cast<const unsigned char*>(bytes)[i];
        hash *= 0x100000001B3u;
    }
    return hash;
}

/// On machines with the lowest byte first.
template <class T> std::uint64_t hashOf(const std::vector<T>& values)
{
    return fnv(values.data(), values.size() * sizeof(T));
}

/// The number at a place of a file, lowest byte first.
inline std::uint64_t numberAt(const std::string& bytes, std::size_t place, std::size_t size)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value |= std::uint64_t(static_cast<unsigned char>(bytes[place + i])) << (8 * i);
    return value;
}

inline void putNumber(std::string& bytes, std::size_t place, std::size_t size, std::uint64_t value)
{
    for (std::size_t i = 0; i < size; ++i)
        bytes[place + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

/// Gives a file that was tampered with its length and the checksum that fits.
inline std::string sealed(std::string bytes)
{
    putNumber(bytes, 16, 8, bytes.size());
    putNumber(bytes, bytes.size() - 8, 8, fnv(bytes.data(), bytes.size() - 8));
    return bytes;
}

/// Where the content of the n-th section begins, counted from 0.
inline std::size_t sectionAt(const std::string& bytes, int n)
{
    std::size_t place = 24;
    for (int i = 0; i < n; ++i)
        place += 8 + numberAt(bytes, place, 8);
    return place + 8;
}

} // namespace captures

#endif
