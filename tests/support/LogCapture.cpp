#include "tests/support/LogCapture.h"

#include <cstring>
#include <utility>

#include <QString>

LogCapture* LogCapture::s_current = nullptr;

std::ostream& operator<<(std::ostream& out, const LogLine& line)
{
    static const char* const names[] = {"debug", "warning", "critical", "fatal", "info"};
    return out << names[line.level] << " {" << line.text << "}";
}

LogCapture::LogCapture()
{
    s_current = this;
    m_previous = qInstallMessageHandler(Handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    s_current = nullptr;
}

std::vector<LogLine> LogCapture::Lines() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

std::vector<LogLine> LogCapture::TakeLines()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_lines, {});
}

void LogCapture::AwaitLines(std::size_t count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_arrived.wait(lock, [&] { return m_count >= count; });
}

void LogCapture::Handle(QtMsgType level, const QMessageLogContext& context, const QString& text)
{
    LogLine line{level, text.toStdString()};
    const bool plain = nullptr != context.category &&
                       0 == std::strcmp(context.category, "default") && nullptr == context.file &&
                       0 == context.line && nullptr == context.function;
    if (!plain)
        line.text += " {context}";
    const std::lock_guard<std::mutex> lock(s_current->m_mutex);
    s_current->m_lines.push_back(std::move(line));
    ++s_current->m_count;
    s_current->m_arrived.notify_all();
}

namespace {

const std::string CONST_PREFIX = "\"_VX_\" \"VideoPlayerFishEye\" : ";

}  // namespace

LogLine Warning(const std::string& text)
{
    return {QtWarningMsg, CONST_PREFIX + text};
}

LogLine Info(const std::string& text)
{
    return {QtInfoMsg, CONST_PREFIX + text};
}

std::string WithValue(const std::string& text, long long value)
{
    return text + " " + std::to_string(value) + "  ]";
}
