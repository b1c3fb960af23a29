#include "viewer/Scene.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QUuid>

#include "viewer/CameraSettings.h"

namespace viewer {

namespace {

/// Beside the viewer, where it is built, or where programs are.
QString FindMaker()
{
    const QString here = QCoreApplication::applicationDirPath();
    const QString found = QStandardPaths::findExecutable(
        "fisheye-clip", {here, QDir::cleanPath(here + "/../tools/fisheye-clip")});
    return found.isEmpty() ? QStandardPaths::findExecutable("fisheye-clip") : found;
}

}  // namespace

Scene::Scene(Mount mount, QObject* parent) : QObject(parent), m_mount(mount) {}

Scene::~Scene()
{
    if (nullptr == m_process)
        return;
    m_process->disconnect(this);
    m_process->kill();
    m_process->waitForFinished();
    QFile::remove(m_part);
}

QString Scene::name()
{
    return "scene";
}

void Scene::make()
{
    const QDir cache(QStandardPaths::writableLocation(QStandardPaths::CacheLocation));
    m_path = cache.filePath("scene-" + WordOf(m_mount) + ".mkv");
    if (QFile::exists(m_path)) {
        emit ready(m_path);
        return;
    }
    const QString maker = FindMaker();
    if (maker.isEmpty()) {
        emit failed(tr("The program fisheye-clip, which makes the scene, was not found beside the "
                       "viewer or in PATH."));
        return;
    }
    cache.mkpath(".");
    // Of its own: another viewer, or another camera of this one, may be making it too.
    m_part = m_path + "." + QUuid::createUuid().toString(QUuid::WithoutBraces) + ".part.mkv";
    m_process = new QProcess(this);
    connect(m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            [this](int code, QProcess::ExitStatus status) {
                finish(QProcess::NormalExit == status && 0 == code);
            });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (QProcess::FailedToStart == error)  // then it does not finish
            finish(false);
    });
    emit progress(tr("Making the built-in scene; this happens once ..."));
    m_process->start(
        maker, {"--mount", WordOf(m_mount), "--size", "1280", "--seconds", "6", "-o", m_part});
}

void Scene::finish(bool made)
{
    QString said = QString::fromLocal8Bit(m_process->readAllStandardError()).trimmed();
    if (said.isEmpty())
        said = m_process->errorString();
    m_process->deleteLater();
    m_process = nullptr;
    // Where the other one was first, its scene is as good.
    const bool there = (made && QFile::rename(m_part, m_path)) || QFile::exists(m_path);
    QFile::remove(m_part);
    if (there)
        emit ready(m_path);
    else
        emit failed(tr("The scene could not be made in %1: %2").arg(m_path, said));
}

}  // namespace viewer
