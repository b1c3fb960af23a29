#pragma once

#include <csignal>

#include <QProcess>

namespace stage {

/// A server on loopback: a program in a process of its own that prints its port once it listens. At
/// the end it is killed without a word to its clients.
class Server
{
public:
    explicit Server(const QStringList& scriptAndArguments)
    {
        m_process.start("/usr/bin/python3", scriptAndArguments);
        while (!m_process.canReadLine() && m_process.waitForReadyRead(60000)) {
        }
        m_port = m_process.readLine().trimmed().toInt();
    }
    ~Server()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// 0 where it could not be started.
    int port() const { return m_port; }

    /// It lives and says no more.
    void fallSilent() { ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP); }

private:
    QProcess m_process;
    int m_port = 0;
};

}  // namespace stage
