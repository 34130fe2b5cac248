#ifndef KYRORVEL_CLIENT_FNV_H
#define KYRORVEL_CLIENT_FNV_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kyrOrvel {
namespace client {

/// FNV-1a, 64 bits, over bytes; numbers go in with their lowest byte first. Two texts that differ
/// in a single byte never share a hash: every step is one-to-one in the byte and in the state.
class Fnv {
public:
    void add(float value)
    {
        std::uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        add(bits);
    }
    void add(double value)
    {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        add(bits);
    }
    void add(std::uint32_t value) { addBytes(value, 4); }
    void add(std::uint64_t value) { addBytes(value, 8); }
    void add(std::string_view bytes)
    {
        for (const char c : bytes)
            addByte(static_cast<unsigned char>(c));
    }
    std::uint64_t value() const { return m_value; }

private:
    void addBytes(std::uint64_t value, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            addByte((value >> (8 * i)) & 0xFF);
    }
    void addByte(std::uint64_t byte) { m_value = (m_value ^ byte) * 0x100000001B3u; }

    std::uint64_t m_value = 0xCBF29CE484222325u;
};

} // namespace client
} // namespace kyrOrvel

#endif
