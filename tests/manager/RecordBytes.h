#pragma once

#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

/// The bytes that a record must have, put together by offset: no declaration of the library takes
/// part, so a moved or resized field shows. What is not set is zero.
class RecordBytes
{
public:
    explicit RecordBytes(std::size_t size) : m_bytes(size, '\0') {}

    RecordBytes& Int(std::size_t offset, std::int32_t value) { return Put(offset, value); }
    RecordBytes& Float(std::size_t offset, float value) { return Put(offset, value); }
    RecordBytes& Pointer(std::size_t offset, const void* value) { return Put(offset, value); }
    RecordBytes& Text(std::size_t offset, const std::string& bytes)
    {
        m_bytes.replace(offset, bytes.size(), bytes);
        return *this;
    }

    operator std::string() const { return m_bytes; }

    friend bool operator==(const std::string& bytes, const RecordBytes& record)
    {
        return bytes == record.m_bytes;
    }

    /// As a failed comparison shows it.
    friend std::ostream& operator<<(std::ostream& out, const RecordBytes& record)
    {
        return out << ::testing::PrintToString(record.m_bytes);
    }

private:
    template <class T>
    RecordBytes& Put(std::size_t offset, const T& value)
    {
        char bytes[sizeof(value)];
        std::memcpy(bytes, &value, sizeof(value));
        m_bytes.replace(offset, sizeof(bytes), bytes, sizeof(bytes));
        return *this;
    }

    std::string m_bytes;
};
