// Presets by the pad's buttons, and snapshots by their dialogs.
#include <functional>

#include <gtest/gtest.h>

#include <QAction>
#include <QFileDialog>
#include <QImageReader>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QToolButton>

#include "tests/viewer/Stage.h"

namespace {

using stage::Apart;
using stage::Await;
using stage::Now;
using viewer::Mount;

class PresetButtons : public ::testing::Test
{
protected:
    PresetButtons()
        : m_viewer(Mount::Ceiling, "quad"), m_list(*m_viewer.window().findChild<QListWidget*>())
    {}

    template <typename Button>
    Button& button(const QString& text)
    {
        for (Button* const button : m_viewer.window().findChildren<Button*>())
            if (button->text() == text)
                return *button;
        throw std::runtime_error("no such button");
    }

    /// Where the first view looks, under a name that is typed.
    void save(QPointF centre, int zoom, const char* name)
    {
        m_viewer.camera().turnTo(0, {centre, zoom});
        bool asked = false;
        stage::WhenOpen<QInputDialog>([&](QInputDialog& dialog) {
            asked = true;
            if (names().contains(name))
                stage::WhenOpen<QMessageBox>(
                    [](QMessageBox& box) { box.button(QMessageBox::Yes)->click(); });
            dialog.setTextValue(name);
            dialog.accept();
        });
        stage::Click(button<QPushButton>("Save..."));
        EXPECT_TRUE(Await([&] { return asked; }));
    }

    /// A click on its line in the list.
    void go(const QString& name)
    {
        QListWidgetItem* const item = m_list.findItems(name, Qt::MatchExactly).value(0);
        ASSERT_NE(item, nullptr) << name.toStdString();
        stage::ClickAt(*m_list.viewport(), m_list.visualItemRect(item).center());
    }

    bool looksAt(QPointF centre, int zoom)
    {
        return Await([&] {
            return Apart(Now(m_viewer, 0).centre, centre) < 0.001 && Now(m_viewer, 0).zoom == zoom;
        });
    }

    QStringList names() { return m_viewer.camera().settings().presets.keys(); }

    stage::Viewer m_viewer;
    QListWidget& m_list;
};

TEST_F(PresetButtons, SaveGoToAndRemove)
{
    save({0.6, 0.7}, 4000, " door ");  // without the blanks
    save({0.3, 0.6}, 2500, "window");
    EXPECT_EQ(names(), (QStringList{"door", "window"}));
    ASSERT_EQ(m_list.count(), 2);
    go("door");
    EXPECT_TRUE(looksAt({0.6, 0.7}, 4000));
    EXPECT_TRUE(stage::ShowsTheTruth(m_viewer, 0));
    go("window");
    EXPECT_TRUE(looksAt({0.3, 0.6}, 2500));
    save({0.7, 0.4}, 6000, "window");  // in place of the other
    EXPECT_EQ(m_list.count(), 2);
    go("door");
    EXPECT_TRUE(looksAt({0.6, 0.7}, 4000));
    go("window");
    EXPECT_TRUE(looksAt({0.7, 0.4}, 6000));
    stage::Click(button<QPushButton>("Remove"));
    EXPECT_TRUE(Await([&] { return m_list.count() == 1; }));
    EXPECT_EQ(names(), QStringList{"door"});
}

TEST_F(PresetButtons, AreForTheViewThatIsSelected)
{
    save({0.6, 0.7}, 4000, "door");
    m_viewer.camera().select(2);
    go("door");
    EXPECT_TRUE(Await([&] { return Apart(Now(m_viewer, 2).centre, {0.6, 0.7}) < 0.001; }));
    EXPECT_EQ(m_viewer.camera().selected(), 2);
}

TEST_F(PresetButtons, SaveNothingWithoutANameOrAView)
{
    save({0.6, 0.7}, 4000, "  ");
    bool asked = false;
    stage::WhenOpen<QInputDialog>([&](QInputDialog& dialog) {
        asked = true;
        dialog.setTextValue("door");
        dialog.reject();
    });
    stage::Click(button<QPushButton>("Save..."));
    EXPECT_TRUE(Await([&] { return asked; }));
    EXPECT_TRUE(names().isEmpty());
    EXPECT_EQ(m_list.count(), 0);
    m_viewer.camera().chooseLayout("panorama");
    stage::Click(button<QPushButton>("Save..."));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_TRUE(names().isEmpty());
}

TEST_F(PresetButtons, StartAndEndAPatrol)
{
    save({0.6, 0.7}, 4000, "door");
    save({0.3, 0.6}, 2500, "window");
    auto& patrol = button<QToolButton>("Patrol");
    stage::Click(patrol);
    EXPECT_TRUE(patrol.isChecked());
    EXPECT_TRUE(looksAt({0.6, 0.7}, 4000));
    auto* const timer = m_viewer.window().findChild<QTimer*>("patrol");
    EXPECT_TRUE(timer->isActive());
    stage::Click(patrol);
    EXPECT_FALSE(patrol.isChecked());
    EXPECT_FALSE(timer->isActive());
}

/// By a menu's entry and the dialog that asks for a name; where it is when it is there.
QImage Snapshot(stage::Viewer& viewer, const QString& entry)
{
    const QTemporaryDir folder;
    QString written;
    QObject::connect(&viewer.camera(), &viewer::CameraWidget::snapshotTaken, &viewer.camera(),
                     [&](const QString& path, bool good) { written = good ? path : "failed"; });
    stage::WhenOpen<QFileDialog>([&](QFileDialog& files) {
        files.findChild<QLineEdit*>("fileNameEdit")->setText(folder.filePath("picture.png"));
        QMetaObject::invokeMethod(&files, "accept", Qt::QueuedConnection);
    });
    stage::ActionOf(viewer, entry).trigger();
    EXPECT_TRUE(Await([&] { return !written.isEmpty(); }));
    QObject::disconnect(&viewer.camera(), &viewer::CameraWidget::snapshotTaken, &viewer.camera(),
                        nullptr);
    EXPECT_EQ(written, folder.filePath("picture.png"));
    EXPECT_EQ(QImageReader::imageFormat(written), "png");
    return QImage(written);
}

TEST(SnapshotDialogs, WriteTheSelectedViewAndTheWholeSource)
{
    stage::Viewer viewer(Mount::Wall, "fisheye+3", viewer::OverlayKind::Traced);
    viewer.camera().select(1);
    viewer.camera().turnTo(1, {{0.35, 0.45}, 5000});
    const QImage view = Snapshot(viewer, "Snapshot of the view...");
    EXPECT_EQ(view.size(), stage::Grab(viewer.cell("view", 1)).size());
    EXPECT_GT(stage::Likeness(view, stage::ViewOf(viewer.camera(), 1, view), Mount::Wall),
              stage::CONST_RIGHT);
    EXPECT_LT(stage::Likeness(view, stage::ViewOf(viewer.camera(), 0, view), Mount::Wall),
              stage::CONST_RIGHT - 0.08);
    const QImage source = Snapshot(viewer, "Snapshot of the source...");
    EXPECT_EQ(source.size(), QSize(1024, 1024));  // the camera's, whatever the window's
    optics::ViewParameters round;
    round.eMount = optics::Mount::Wall;
    EXPECT_GT(stage::Likeness(source, round, Mount::Wall), stage::CONST_RIGHT);
    EXPECT_LT(stage::Likeness(source.mirrored(true, false), round, Mount::Wall),
              stage::CONST_RIGHT - 0.08);
}

TEST(SnapshotDialogs, WriteThePanoramaWhereItIsAllThatIsShown)
{
    stage::Viewer viewer(Mount::Ceiling, "panorama");
    const QImage picture = Snapshot(viewer, "Snapshot of the view...");
    EXPECT_EQ(picture.size(), stage::Grab(viewer.cell("panorama")).size());
    optics::ViewParameters view;
    view.eKind = optics::ViewKind::Panorama;
    EXPECT_GT(stage::Likeness(picture, view, Mount::Ceiling), stage::CONST_RIGHT);
}

}  // namespace
