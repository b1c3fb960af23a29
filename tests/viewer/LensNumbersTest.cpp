// The lens dialog's numbers, as somebody types them.
#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

#include "tests/viewer/Stage.h"

#include "viewer/EngineExtras.h"
#include "viewer/LensDialog.h"

namespace {

using stage::Await;
using viewer::Mount;

/// A field of the dialog, what is typed into it, and where the engine has it.
struct Field
{
    const char* label;
    const char* typed;
    std::function<double(const RvLens&)> of;
};

// In an order in which the circle stays within the picture.
const Field CONST_CIRCLE[] = {
    {"Circle radius", "450.5", [](const RvLens& lens) { return lens.dCircleRadius; }},
    {"Field of view", "195.5", [](const RvLens& lens) { return lens.dFieldOfView; }},
    {"Centre, from the left", "498.5", [](const RvLens& lens) { return lens.dCentreX; }},
    {"Centre, from the top", "520.3", [](const RvLens& lens) { return lens.dCentreY; }}};
const Field CONST_POLYNOMIAL[] = {
    {"Focal length, across", "331.25", [](const RvLens& lens) { return lens.dFocalX; }},
    {"Focal length, down", "332.75", [](const RvLens& lens) { return lens.dFocalY; }},
    {"k1", "-0.0125", [](const RvLens& lens) { return lens.adK[0]; }},
    {"k2", "0.002", [](const RvLens& lens) { return lens.adK[1]; }},
    {"k3", "-0.0003", [](const RvLens& lens) { return lens.adK[2]; }},
    {"k4", "0.000021", [](const RvLens& lens) { return lens.adK[3]; }}};

class LensNumbers : public ::testing::Test
{
protected:
    LensNumbers() : m_viewer(Mount::Ceiling, "quad"), m_found(lens())
    {
        m_viewer.window().resize(800, 700);  // so that the screen has room for the dialog beside it
        open();
    }

    void open()
    {
        stage::ActionOf(m_viewer, "Lens...").trigger();
        m_dialog = m_viewer.camera().findChild<viewer::LensDialog*>();
        m_dialog->move(m_viewer.window().frameGeometry().topRight());  // covers nothing
        m_dialog->activateWindow();
        Await([this] { return m_dialog->isActiveWindow(); });
    }

    RvLens lens() { return *viewer::extras::LensOf(m_viewer.camera().player()); }

    QDoubleSpinBox& box(const char* label)
    {
        const auto& form = *static_cast<QFormLayout*>(m_dialog->layout());
        for (QDoubleSpinBox* const box : m_dialog->findChildren<QDoubleSpinBox*>())
            if (static_cast<QLabel*>(form.labelForField(box))->text() == label)
                return *box;
        throw std::runtime_error("no such field");
    }

    /// Letter by letter over what is there.
    void type(const Field& field)
    {
        stage::Click(box(field.label));
        ASSERT_TRUE(Await([&] { return box(field.label).hasFocus(); })) << field.label;
        stage::Key('a', {stage::CONST_KEY_CONTROL});
        stage::Type(field.typed);
        stage::Key(stage::CONST_KEY_TAB);
        EXPECT_TRUE(Await([&] { return !box(field.label).hasFocus(); }));
        EXPECT_NEAR(field.of(lens()), std::atof(field.typed), 1e-9) << field.label;
        EXPECT_EQ(box(field.label).value(), std::atof(field.typed)) << field.label;
    }

    /// Down the list of models.
    void nextModel()
    {
        auto* const models = m_dialog->findChild<QComboBox*>();
        models->setFocus();
        stage::Key(stage::CONST_KEY_DOWN);
    }

    void press(QDialogButtonBox::StandardButton button)
    {
        stage::Click(*m_dialog->findChild<QDialogButtonBox*>()->button(button));
        ASSERT_TRUE(closed());
    }

    bool closed()
    {
        return Await(
            [this] { return m_viewer.camera().findChild<viewer::LensDialog*>() == nullptr; });
    }

    /// Whether the cross stands where the lens has its centre, and the circle goes round it.
    bool drawn()
    {
        const viewer::CellWidget& cell = m_viewer.cell("main");
        const QImage image = stage::Grab(cell);
        const RvLens now = lens();
        const auto yellowAt = [&](double x, double y) {
            const QPointF place =
                cell.fromSquare({(x + 0.5) / now.iWidth, (y + 0.5) / now.iHeight});
            const QPoint pixel(int(place.x() * image.width()), int(place.y() * image.height()));
            for (int dx = -2; dx <= 2; ++dx)
                for (int dy = -2; dy <= 2; ++dy)
                    if (image.rect().contains(pixel + QPoint(dx, dy)) &&
                        image.pixelColor(pixel + QPoint(dx, dy)) == QColor(Qt::yellow))
                        return true;
            return false;
        };
        bool all = yellowAt(now.dCentreX, now.dCentreY);
        for (int degrees = 0; degrees < 360; degrees += 30) {
            const double angle = degrees / 57.29577951308232;
            all = all && yellowAt(now.dCentreX + now.dCircleRadius * std::cos(angle),
                                  now.dCentreY + now.dCircleRadius * std::sin(angle));
        }
        return all;
    }

    stage::Viewer m_viewer;
    const RvLens m_found;
    viewer::LensDialog* m_dialog;
};

TEST_F(LensNumbers, AreInForceAndSeenAsTheyAreTyped)
{
    for (const Field& field : CONST_CIRCLE) {
        type(field);
        EXPECT_TRUE(Await([this] { return drawn(); })) << field.label;
    }
    for (const Field& field : CONST_CIRCLE)
        EXPECT_NEAR(field.of(lens()), std::atof(field.typed), 1e-9) << field.label;
    press(QDialogButtonBox::Ok);
    ASSERT_TRUE(m_viewer.camera().settings().lens.has_value());
    for (const Field& field : CONST_CIRCLE)
        EXPECT_EQ(field.of(*m_viewer.camera().settings().lens), std::atof(field.typed));
    EXPECT_TRUE(m_viewer.cell("view", 3).isVisible());
}

TEST_F(LensNumbers, OfEveryModelAndOfAPolynomialTakeTheirEffect)
{
    for (const Field& field : CONST_POLYNOMIAL)
        EXPECT_FALSE(box(field.label).isEnabled()) << field.label;
    for (int model = 1; model <= 4; ++model) {
        nextModel();
        EXPECT_TRUE(Await([&] { return lens().iModel == model; })) << model;
    }
    for (const Field& field : CONST_POLYNOMIAL)
        type(field);
    for (const Field& field : CONST_POLYNOMIAL)
        EXPECT_NEAR(field.of(lens()), std::atof(field.typed), 1e-9) << field.label;
    press(QDialogButtonBox::Ok);
    EXPECT_EQ(m_viewer.camera().settings().lens->iModel, 4);
    EXPECT_EQ(m_viewer.camera().settings().lens->adK[0], -0.0125);
}

TEST_F(LensNumbers, ThatNobodyTouchesStayAsTheyWereToTheLastDigit)
{
    viewer::LensCalibration calibration;
    calibration.focalX = 331.25387;
    calibration.focalY = 331.91234;
    calibration.centreX = 500.53712;
    calibration.centreY = 520.24681;
    calibration.k = {-0.0125123456, 0.0023456789, -0.0003456789, 0.0000456789};
    press(QDialogButtonBox::Cancel);
    ASSERT_TRUE(m_viewer.camera().chooseLens(viewer::LensFrom(calibration)));
    open();
    type(CONST_POLYNOMIAL[3]);  // k2
    const RvLens now = lens();
    EXPECT_NEAR(now.dFocalX, calibration.focalX, 1e-9);
    EXPECT_NEAR(now.dFocalY, calibration.focalY, 1e-9);
    EXPECT_EQ(now.dCentreX, calibration.centreX);
    EXPECT_EQ(now.dCentreY, calibration.centreY);
    EXPECT_EQ(now.adK[0], calibration.k[0]);
    EXPECT_EQ(now.adK[1], 0.002);
    EXPECT_EQ(now.adK[3], calibration.k[3]);
}

TEST_F(LensNumbers, ThatAreNotDoneAreDroppedByEscape)
{
    stage::Click(box("Field of view"));
    stage::Key('a', {stage::CONST_KEY_CONTROL});
    stage::Type("120");
    EXPECT_TRUE(Await([this] { return box("Field of view").text().startsWith("120"); }));
    stage::Key(stage::CONST_KEY_ESCAPE);
    ASSERT_TRUE(closed());
    EXPECT_FALSE(m_viewer.camera().settings().lens.has_value());
    EXPECT_TRUE(Await([&] { return lens().dFieldOfView == m_found.dFieldOfView; }));
}

TEST_F(LensNumbers, AreTakenByReturn)
{
    stage::Click(box("Field of view"));
    stage::Key('a', {stage::CONST_KEY_CONTROL});
    stage::Type("190.5");
    stage::Key(stage::CONST_KEY_RETURN);
    ASSERT_TRUE(closed());
    EXPECT_EQ(lens().dFieldOfView, 190.5);
    EXPECT_EQ(m_viewer.camera().settings().lens->dFieldOfView, 190.5);
}

TEST_F(LensNumbers, AreTakenBackByCancel)
{
    for (const Field& field : CONST_CIRCLE)
        type(field);
    press(QDialogButtonBox::Cancel);
    EXPECT_FALSE(m_viewer.camera().settings().lens.has_value());
    EXPECT_TRUE(Await([&] { return lens().dCircleRadius == m_found.dCircleRadius; }));
    EXPECT_EQ(lens().dCentreX, m_found.dCentreX);
    EXPECT_EQ(lens().dCentreY, m_found.dCentreY);
    EXPECT_EQ(lens().dFieldOfView, m_found.dFieldOfView);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(stage::ShowsTheTruth(m_viewer, i));
}

}  // namespace
