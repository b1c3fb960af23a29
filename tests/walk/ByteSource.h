#pragma once

#include <cstddef>
#include <cstdint>

namespace walk {

/// Where a walk takes its decisions from: a seed in the test, the fuzzer's bytes in the fuzz
/// target. A byte of 0 is everywhere the ordinary choice, so that a source that has run dry leads
/// nowhere in particular.
class ByteSource
{
public:
    virtual ~ByteSource() = default;
    virtual std::uint8_t Byte() = 0;

    /// Nothing is left; every further byte is 0.
    virtual bool Empty() const = 0;

    std::uint32_t Word()
    {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i)
            word = word << 8 | Byte();
        return word;
    }

    /// 0..count - 1, for a count of 1..65536.
    int Below(int count)
    {
        int number = Byte();
        if (count > 256)
            number = number << 8 | Byte();
        return number % count;
    }

    bool OneIn(int count) { return count - 1 == Below(count); }
    bool Coin() { return OneIn(2); }

    template <class T, std::size_t count>
    const T& OneOf(const T (&choices)[count])
    {
        return choices[Below(static_cast<int>(count))];
    }
};

/// An endless source, the same for the same seed on every machine.
class SeededBytes : public ByteSource
{
public:
    explicit SeededBytes(std::uint64_t seed) : m_state(seed) {}

    std::uint8_t Byte() override
    {
        if (0 == m_left) {
            m_bits = Next();
            m_left = 8;
        }
        --m_left;
        const auto byte = static_cast<std::uint8_t>(m_bits);
        m_bits >>= 8;
        return byte;
    }

    bool Empty() const override { return false; }

private:
    std::uint64_t Next()  // SplitMix64
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBU;
        return mixed ^ mixed >> 31;
    }

    std::uint64_t m_state;
    std::uint64_t m_bits = 0;
    int m_left = 0;
};

/// Bytes that somebody gives.
class GivenBytes : public ByteSource
{
public:
    GivenBytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_end(data + size) {}

    std::uint8_t Byte() override { return Empty() ? std::uint8_t{0} : *m_data++; }
    bool Empty() const override { return m_data == m_end; }

private:
    const std::uint8_t* m_data;
    const std::uint8_t* m_end;
};

}  // namespace walk
