#include "tests/walk/Replay.h"

#include <cstdio>

namespace walk {

namespace {

std::string Hex(const std::string& bytes)
{
    std::string text;
    char word[16];
    for (std::size_t at = 0; at + 4 <= bytes.size() && at < 128; at += 4) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + at, sizeof(value));
        std::snprintf(word, sizeof(word), " %x", value);
        text += word;
    }
    return text;
}

std::string Describe(const Event& event)
{
    if (Event::Kind::Line == event.kind) {
        static const char* const levels[] = {"debug", "warning", "critical", "fatal", "info"};
        return std::string(levels[event.level]) + " {" + event.text + "}";
    }
    std::string text = event.text + "(";
    for (const std::intptr_t argument : event.arguments)
        text += " " + std::to_string(argument);
    text += " )";
    for (const std::string& record : event.records)
        text += " [" + Hex(record) + " ]";
    return text + " -> " + std::to_string(static_cast<int>(event.result)) + " [" +
           Hex(event.written) + " ]";
}

bool Fits(const Argument& expected, std::intptr_t actual)
{
    return expected.address ? 0 != actual : expected.value == actual;
}

}  // namespace

void Record::Read(std::size_t at, void* value, std::size_t size) const
{
    if (at + size > m_bytes.size())
        throw std::out_of_range("a record of " + std::to_string(m_bytes.size()) + " bytes");
    std::memcpy(value, m_bytes.data() + at, size);
}

void Replay::Differ(const std::string& expected) const
{
    throw Mismatch("expected: " + expected + "\n  but was: " +
                   (m_next < m_events.size() ? Describe(m_events[m_next]) : "nothing"));
}

void Replay::Line(QtMsgType level, const std::string& module, const std::string& text)
{
    Event expected;
    expected.level = level;
    expected.text = "\"_VX_\" \"" + module + "\" : " + text;
    if (m_next == m_events.size() || Event::Kind::Line != m_events[m_next].kind ||
        level != m_events[m_next].level || expected.text != m_events[m_next].text)
        Differ(Describe(expected));
    ++m_next;
}

const Event& Replay::Next(Event::Kind kind, const std::string& name,
                          std::initializer_list<Argument> arguments)
{
    const auto differ = [&] {
        Event expected;
        expected.kind = kind;
        expected.text = name;
        for (const Argument& argument : arguments)
            expected.arguments.push_back(argument.address ? -1 : argument.value);
        Differ(Describe(expected));
    };
    if (m_next == m_events.size())
        differ();
    const Event& event = m_events[m_next];
    if (kind != event.kind || name != event.text || arguments.size() != event.arguments.size())
        differ();
    std::size_t i = 0;
    for (const Argument& argument : arguments)
        if (!Fits(argument, event.arguments[i++]))
            differ();
    ++m_next;
    return event;
}

const Event& Replay::Call(const char* name, std::initializer_list<Argument> arguments,
                          std::initializer_list<Record> records)
{
    const Event& event = Next(Event::Kind::Call, name, arguments);
    --m_next;
    if (records.size() != event.records.size())
        Differ(std::string(name) + " with another number of records");
    std::size_t i = 0;
    for (const Record& record : records)
        if (record.Bytes() != event.records[i++])
            Differ(std::string(name) + " with [" + Hex(record.Bytes()) + " ]");
    ++m_next;
    return event;
}

const Event& Replay::CallBlind(const char* name, std::initializer_list<Argument> arguments)
{
    return Next(Event::Kind::Call, name, arguments);
}

const Event& Replay::Callback(const char* name, std::initializer_list<Argument> arguments)
{
    return Next(Event::Kind::Callback, name, arguments);
}

void Replay::Done() const
{
    if (m_next != m_events.size())
        Differ("nothing");
}

std::string Replay::Story() const
{
    std::string story;
    for (const Event& event : m_events)
        story += "    " + Describe(event) + "\n";
    return story;
}

std::string Text(const std::string& text, long long value)
{
    return text + " " + std::to_string(value) + "  ]";
}

std::string Text(const std::string& first, long long one, const std::string& second, long long two)
{
    return first + " " + std::to_string(one) + " " + Text(second, two);
}

}  // namespace walk
