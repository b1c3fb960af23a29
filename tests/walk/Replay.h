#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/walk/World.h"

namespace walk {

/// The model and the library differ.
struct Mismatch : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The bytes of a record, by raw offset.
class Record
{
public:
    explicit Record(std::size_t size) : m_bytes(size, '\0') {}
    explicit Record(std::string bytes) : m_bytes(std::move(bytes)) {}

    template <class T>
    static Record Of(const T& value)
    {
        return Record(std::string(reinterpret_cast<const char*>(&value), sizeof(value)));
    }

    Record& Int(std::size_t at, std::int32_t value) { return Put(at, value); }
    Record& Float(std::size_t at, float value) { return Put(at, value); }
    Record& Pointer(std::size_t at, const void* value) { return Put(at, value); }
    std::int32_t Int(std::size_t at) const { return Get<std::int32_t>(at); }
    float Float(std::size_t at) const { return Get<float>(at); }
    const std::string& Bytes() const { return m_bytes; }

    /// The same with the eight bytes at an offset, an address that nobody can foretell, blanked;
    /// null stays null.
    Record Blanked(std::size_t at) const
    {
        Record blanked = *this;
        if (0 != Get<std::intptr_t>(at))
            blanked.Put(at, std::intptr_t{-1});
        return blanked;
    }

private:
    template <class T>
    Record& Put(std::size_t at, T value)
    {
        m_bytes.replace(at, sizeof(value), reinterpret_cast<const char*>(&value), sizeof(value));
        return *this;
    }

    template <class T>
    T Get(std::size_t at) const
    {
        T value{};
        Read(at, &value, sizeof(value));
        return value;
    }

    void Read(std::size_t at, void* value, std::size_t size) const;

    std::string m_bytes;
};

/// An argument that the model expects.
struct Argument
{
    Argument(int number) : value(number) {}  // NOLINT: reads as the argument itself
    Argument(const void* pointer) : value(reinterpret_cast<std::intptr_t>(pointer)) {}  // NOLINT
    Argument(std::nullptr_t) : value(0) {}                                              // NOLINT

    /// Some address, not null.
    static Argument Address()
    {
        Argument argument(1);
        argument.address = true;
        return argument;
    }

    std::intptr_t value;
    bool address = false;
};

/// What the library did in a step, gone through once more by the model: each line and each call
/// that the model expects must be the next one that happened.
class Replay
{
public:
    explicit Replay(std::vector<Event> events) : m_events(std::move(events)) {}

    /// A line of the module "VideoPlayerFishEye".
    void Warn(const std::string& text) { Line(QtWarningMsg, "VideoPlayerFishEye", text); }
    void Inform(const std::string& text) { Line(QtInfoMsg, "VideoPlayerFishEye", text); }
    void Line(QtMsgType level, const std::string& module, const std::string& text);

    /// A call, with the records that the library passes; gives the answer that it got.
    const Event& Call(const char* name, std::initializer_list<Argument> arguments,
                      std::initializer_list<Record> records = {});

    /// A call whose records hold addresses of the library's own: they are left to the caller.
    const Event& CallBlind(const char* name, std::initializer_list<Argument> arguments);

    /// A call of the client, or of a view that the walk has put in.
    const Event& Callback(const char* name, std::initializer_list<Argument> arguments);

    /// Nothing more happened.
    void Done() const;

    /// Everything that happened, for a reader.
    std::string Story() const;

private:
    const Event& Next(Event::Kind kind, const std::string& name,
                      std::initializer_list<Argument> arguments);
    [[noreturn]] void Differ(const std::string& expected) const;

    std::vector<Event> m_events;
    std::size_t m_next = 0;
};

/// A text, its value and the closing bracket, one blank between the items.
std::string Text(const std::string& text, long long value);

/// Two texts with their values and the closing bracket.
std::string Text(const std::string& first, long long one, const std::string& second, long long two);

}  // namespace walk
