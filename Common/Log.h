#pragma once

#include <QDebug>
#include <QMessageLogger>
#include <QString>

constexpr char VXMOD[] = "_VX_";            ///< the first item of every line
constexpr char VXMODFAULT[] = "_VXFAULT_";  ///< the tag of a fault; no line bears it

/// Writes the lines of one module at one level. The only place where a log line is composed: tag,
/// module, ":" and the items, as the plain QDebug stream separates and quotes them.
///
/// Tag and module become QStrings (which the stream quotes) anew for each line: an overlay thread
/// that still runs while the process exits must not find them destroyed.
class Log
{
public:
    constexpr Log(QtMsgType level, const char* module)
        : m_level(level), m_module(module) {}  // coverage: excluded, runs in the compiler alone

    template <class... Items>
    void Write(const Items&... items) const
    {
        QDebug line = Stream();
        line << QString(VXMOD) << QString(m_module) << ":";
        (line << ... << items);
    }

    /// One line, and the code of every failure that the library finds by itself.
    template <class... Items>
    int Refuse(const Items&... items) const
    {
        Write(items...);
        return -1;
    }

    /// One line of text, code and closing bracket; the code is handed on.
    int PassBack(int iRet, const char* text) const
    {
        Write(text, iRet, " ]");
        return iRet;
    }

private:
    QDebug Stream() const
    {
        const QMessageLogger logger(nullptr, 0, nullptr);
        if (m_level == QtDebugMsg)
            return logger.debug();
        return m_level == QtInfoMsg ? logger.info() : logger.warning();
    }

    QtMsgType m_level;
    const char* m_module;
};
