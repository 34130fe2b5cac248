#ifndef KYRORVEL_CLIENT_BYTES_H
#define KYRORVEL_CLIENT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace kyrOrvel {
namespace client {

/// The unsigned integer with the bits of a scalar.
template <class T>
using BitsOf = std::conditional_t<sizeof(T) == sizeof(std::uint32_t), std::uint32_t, std::uint64_t>;

/// Appends numbers to a text, lowest byte first.
class ByteWriter {
public:
    void word(std::uint32_t value) { put(value, 4); }
    void longWord(std::uint64_t value) { put(value, 8); }
    template <class T> void scalar(T value)
    {
        BitsOf<T> bits;
        std::memcpy(&bits, &value, sizeof bits);
        put(bits, sizeof bits);
    }
    void text(std::string_view bytes) { m_bytes += bytes; }

    /// Replaces the long word at a place.
    void setLongWord(std::size_t place, std::uint64_t value)
    {
        for (std::size_t i = 0; i < 8; ++i)
            m_bytes[place + i] = byteOf(value, i);
    }

    std::size_t size() const { return m_bytes.size(); }
    std::string& bytes() { return m_bytes; }

private:
    static char byteOf(std::uint64_t value, std::size_t i)
    {
        return static_cast<char>(static_cast<unsigned char>((value >> (8 * i)) & 0xFF));
    }
    void put(std::uint64_t value, std::size_t bytes)
    {
        for (std::size_t i = 0; i < bytes; ++i)
            m_bytes += byteOf(value, i);
    }

    std::string m_bytes;
};

/// Takes numbers from a text. Once something is wrong, by the text's end or by fail(), every number
/// is 0 and the first error stays.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

    std::uint32_t word() { return static_cast<std::uint32_t>(take(4)); }
    std::uint64_t longWord() { return take(8); }
    template <class T> T scalar()
    {
        const auto bits = static_cast<BitsOf<T>>(take(sizeof(T)));
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// A word from 0 to `last`.
    std::uint32_t choice(std::uint32_t last, const char* what)
    {
        const std::uint32_t value = word();
        if (value > last)
            fail(std::string(what) + " is " + std::to_string(value) + ", beyond " +
                 std::to_string(last));
        return ok() ? value : 0;
    }

    bool flag(const char* what) { return choice(1, what) != 0; }

    /// A number of elements that follow: no more than the rest of the text can hold.
    std::size_t count(std::size_t bytesEach, const char* what)
    {
        const std::uint64_t value = longWord();
        if (value > remaining() / bytesEach)
            fail("it claims " + std::to_string(value) + " " + what + ", which would not fit in");
        return ok() ? static_cast<std::size_t>(value) : 0;
    }

    /// The next bytes themselves; fewer than asked for, and an error, at the end.
    std::string_view text(std::size_t size)
    {
        if (size > remaining())
            fail("it ends too early");
        if (!ok())
            return {};
        m_position += size;
        return m_bytes.substr(m_position - size, size);
    }

    void fail(const std::string& why)
    {
        if (ok())
            m_error = why;
    }
    bool ok() const { return m_error.empty(); }
    const std::string& error() const { return m_error; }
    std::size_t remaining() const { return m_bytes.size() - m_position; }

private:
    std::uint64_t take(std::size_t size)
    {
        const std::string_view bytes = text(size);
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            value |= std::uint64_t(static_cast<unsigned char>(bytes[i])) << (8 * i);
        return value;
    }

    std::string_view m_bytes;
    std::size_t m_position = 0;
    std::string m_error;
};

} // namespace client
} // namespace kyrOrvel

#endif
