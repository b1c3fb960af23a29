#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <QByteArray>
#include <QString>

#include "viewer/StreamReader.h"

namespace stage {

/// A reader, and what came of it. Whatever is awaited and does not come within a minute ends the
/// test with an exception that says what had come.
class Reading
{
public:
    explicit Reading(const QString& source)
        : m_reader(source, [this](const QByteArray& block) { return take(block); })
    {
        QObject::connect(
            &m_reader, &viewer::StreamReader::stateChanged, &m_reader,
            [this](viewer::StreamState state, const QString& message) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_states.push_back(state);
                m_messages.push_back(message);
                m_picturesThen.push_back(m_pictures);
                m_changed.notify_all();
            },
            Qt::DirectConnection);
        QObject::connect(
            &m_reader, &viewer::StreamReader::opened, &m_reader,
            [this](const viewer::StreamInfo& info) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_info = info;
            },
            Qt::DirectConnection);
    }

    viewer::StreamReader& reader() { return m_reader; }

    /// Waits for a state after the one that was waited for last; its message.
    QString await(viewer::StreamState state)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        waitFor(NameOf(state), lock, [&] {
            while (m_next < m_states.size() && m_states[m_next] != state)
                ++m_next;
            return m_next < m_states.size();
        });
        return m_messages[m_next++];
    }

    /// How many blocks of pictures had come before the state that was waited for last.
    std::size_t picturesBefore()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_picturesThen[m_next - 1];
    }

    /// The states up to the one that was waited for last.
    std::vector<viewer::StreamState> statesSoFar()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return {m_states.begin(), m_states.begin() + static_cast<std::ptrdiff_t>(m_next)};
    }

    /// Waits for the first state in which it neither opens nor plays; its message.
    QString awaitEnd()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        waitFor("an end", lock, [&] {
            return !m_states.empty() && m_states.back() != viewer::StreamState::Connecting &&
                   m_states.back() != viewer::StreamState::Playing;
        });
        return m_messages.back();
    }

    /// Waits for so many blocks of pictures.
    void awaitPictures(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        waitFor(std::to_string(count) + " pictures", lock, [&] { return m_pictures >= count; });
    }

    std::size_t pictures()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_pictures;
    }

    viewer::StreamInfo info()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_info;
    }

    /// How often the end was told.
    int ends()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_ends;
    }

    std::vector<viewer::StreamState> states()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_states;
    }

    QByteArray bytes()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_bytes;
    }

    void refuse(int times) { m_refusals = times; }

private:
    static const char* NameOf(viewer::StreamState state)
    {
        constexpr const char* CONST_NAMES[] = {"Connecting", "Playing", "Reconnecting", "Ended",
                                               "Failed"};
        return CONST_NAMES[static_cast<std::size_t>(state)];
    }

    template <typename Holds>
    void waitFor(const std::string& what, std::unique_lock<std::mutex>& lock, const Holds& holds)
    {
        constexpr std::chrono::minutes CONST_PATIENCE{1};
        if (m_changed.wait_for(lock, CONST_PATIENCE, holds))
            return;
        std::string came = "not " + what + " in a minute, but " + std::to_string(m_pictures) +
                           " pictures and the states";
        for (std::size_t i = 0; i < m_states.size(); ++i)
            came +=
                std::string(" ") + NameOf(m_states[i]) + " \"" + m_messages[i].toStdString() + "\"";
        throw std::runtime_error(came);
    }

    bool take(const QByteArray& block)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_refusals > 0) {
            --m_refusals;
            return false;
        }
        if (block.isEmpty()) {
            ++m_ends;
            return true;
        }
        m_bytes.append(block);
        ++m_pictures;
        m_changed.notify_all();
        return true;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    QByteArray m_bytes;
    std::size_t m_pictures = 0;
    int m_ends = 0;
    std::vector<viewer::StreamState> m_states;
    std::vector<QString> m_messages;
    std::vector<std::size_t> m_picturesThen;
    std::size_t m_next = 0;
    viewer::StreamInfo m_info;
    int m_refusals = 0;
    viewer::StreamReader m_reader;  // last, so that it ends first
};

}  // namespace stage
