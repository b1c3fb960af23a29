#pragma once

#include <QObject>
#include <QString>

#include "viewer/ViewGeometry.h"

class QProcess;

namespace viewer {

/// The built-in scene: a clip of a synthetic room, made by fisheye-clip when it is first wanted and
/// kept in the user's cache folder.
class Scene : public QObject
{
    Q_OBJECT

public:
    Scene(Mount mount, QObject* parent = nullptr);
    ~Scene() override;

    /// Its name as a source.
    static QString name();

    /// Finds or makes the clip; ready or failed follow, perhaps at once.
    void make();

signals:
    void progress(const QString& text);
    void ready(const QString& path);
    void failed(const QString& why);

private:
    void finish(bool made);

    const Mount m_mount;
    QString m_path;
    QString m_part;  ///< what becomes m_path when it is whole
    QProcess* m_process = nullptr;
};

}  // namespace viewer
