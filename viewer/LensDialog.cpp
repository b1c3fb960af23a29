#include "viewer/LensDialog.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>

#include "viewer/CameraSettings.h"
#include "viewer/CameraWidget.h"
#include "viewer/EngineExtras.h"
#include "viewer/LensFile.h"

namespace viewer {

namespace {

constexpr int CONST_KANNALA_BRANDT = 4;
constexpr int CONST_FOLLOW_MS = 200;  ///< between looks at what the engine has found
constexpr double CONST_LARGEST_PIXEL = 16384.0;

/// What a field says, or, where that is what it was filled with cut to fit, the whole of it.
double NumberIn(const QDoubleSpinBox& field, double filled)
{
    const double shown = std::clamp(filled, field.minimum(), field.maximum());
    const double lastPlace = std::pow(10.0, -field.decimals());
    return std::abs(field.value() - shown) < 0.51 * lastPlace ? filled : field.value();
}

}  // namespace

LensDialog::LensDialog(CameraWidget& camera) : QDialog(&camera), m_camera(camera)
{
    setWindowTitle(tr("Lens of %1").arg(camera.title()));
    auto* const form = new QFormLayout(this);
    auto* const hint =
        new QLabel(tr("Drag within the inner half of the circle to move it, outside to size it."));
    hint->setWordWrap(true);
    form->addRow(hint);

    m_model = new QComboBox;
    m_model->addItems({tr("Equidistant"), tr("Stereographic"), tr("Equisolid angle"),
                       tr("Orthographic"), tr("Kannala-Brandt")});
    connect(m_model, qOverload<int>(&QComboBox::activated), this, &LensDialog::apply);
    form->addRow(tr("Model"), m_model);
    const auto field = [&](const QString& label, double low, double high, int decimals,
                           const QString& unit) {
        auto* const box = new QDoubleSpinBox;
        box->setRange(low, high);
        box->setDecimals(decimals);
        box->setSuffix(unit);
        box->setKeyboardTracking(false);  // half a number is no lens
        connect(box, qOverload<double>(&QDoubleSpinBox::valueChanged), this, &LensDialog::apply);
        form->addRow(label, box);
        return box;
    };
    const double most = CONST_LARGEST_PIXEL;
    m_fieldOfView = field(tr("Field of view"), 90.0, 235.0, 1, tr("°"));
    m_centreX = field(tr("Centre, from the left"), -most, most, 1, tr(" px"));
    m_centreY = field(tr("Centre, from the top"), -most, most, 1, tr(" px"));
    m_radius = field(tr("Circle radius"), 1.0, most, 1, tr(" px"));
    m_focalX = field(tr("Focal length, across"), 1.0, most, 2, tr(" px/rad"));
    m_focalY = field(tr("Focal length, down"), 1.0, most, 2, tr(" px/rad"));
    for (std::size_t i = 0; i < m_k.size(); ++i) {
        m_k[i] = field(tr("k%1").arg(i + 1), -10.0, 10.0, 6, {});
        m_k[i]->setSingleStep(0.001);
    }

    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QPushButton* const import =
        buttons->addButton(tr("Import calibration..."), QDialogButtonBox::ActionRole);
    QPushButton* const find = buttons->addButton(tr("Find it"), QDialogButtonBox::ResetRole);
    connect(import, &QPushButton::clicked, this, &LensDialog::importFile);
    connect(find, &QPushButton::clicked, this, &LensDialog::findIt);
    connect(buttons, &QDialogButtonBox::accepted, this, &LensDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &LensDialog::reject);
    form->addRow(buttons);

    connect(&m_camera, &CameraWidget::circleDragged, this, [this](double x, double y, double r) {
        m_lens.dFocalX = m_lens.dFocalY = 0.0;  // from the circle again
        {
            const QSignalBlocker blocks[] = {QSignalBlocker(m_centreX), QSignalBlocker(m_centreY),
                                             QSignalBlocker(m_radius)};
            m_centreX->setValue(x);
            m_centreY->setValue(y);
            m_radius->setValue(r);
        }
        apply();
    });
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &LensDialog::follow);
    timer->start(CONST_FOLLOW_MS);
    m_camera.editCircle(true);
    fill(extras::LensOf(m_camera.player()).value_or(UnknownLens()));
}

void LensDialog::fill(const RvLens& lens)
{
    m_filling = true;
    m_lens = lens;
    m_model->setCurrentIndex(lens.iModel);
    m_fieldOfView->setValue(lens.dFieldOfView);
    m_centreX->setValue(lens.dCentreX);
    m_centreY->setValue(lens.dCentreY);
    m_radius->setValue(lens.dCircleRadius);
    m_radiusShown = m_radius->value();
    m_focalX->setValue(lens.dFocalX);
    m_focalY->setValue(lens.dFocalY);
    for (std::size_t i = 0; i < m_k.size(); ++i)
        m_k[i]->setValue(lens.adK[i]);
    const bool polynomial = CONST_KANNALA_BRANDT == lens.iModel;
    for (QWidget* const widget : {m_focalX, m_focalY, m_k[0], m_k[1], m_k[2], m_k[3]})
        widget->setEnabled(polynomial);
    m_filling = false;
}

/// Circle and field of view make the focal length, but for the polynomial, which has its own.
void LensDialog::apply()
{
    if (m_filling)
        return;
    RvLens lens = m_lens;
    lens.iModel = m_model->currentIndex();
    lens.dFieldOfView = NumberIn(*m_fieldOfView, lens.dFieldOfView);
    lens.dCentreX = NumberIn(*m_centreX, lens.dCentreX);
    lens.dCentreY = NumberIn(*m_centreY, lens.dCentreY);
    lens.dCircleRadius = NumberIn(*m_radius, lens.dCircleRadius);
    const bool polynomial = CONST_KANNALA_BRANDT == lens.iModel;
    lens.dFocalX = polynomial && 0.0 != lens.dFocalX ? NumberIn(*m_focalX, lens.dFocalX) : 0.0;
    lens.dFocalY = polynomial && 0.0 != lens.dFocalY ? NumberIn(*m_focalY, lens.dFocalY) : 0.0;
    // Focal lengths and field of view make the circle; beside them a radius is a limit, and the one
    // that is merely shown is that of the lens before.
    if (0.0 != lens.dFocalX && m_radius->value() == m_radiusShown)
        lens.dCircleRadius = 0.0;
    for (std::size_t i = 0; i < m_k.size(); ++i)
        lens.adK[i] = polynomial ? NumberIn(*m_k[i], lens.adK[i]) : 0.0;
    m_camera.chooseLens(lens);
    fill(extras::LensOf(m_camera.player()).value_or(lens));
}

void LensDialog::importFile()
{
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Calibration of OpenCV"), {}, tr("Calibrations (*.yml *.yaml *.json);;All (*)"));
    if (path.isEmpty())
        return;
    QString why;
    const std::optional<LensCalibration> calibration = ReadLensCalibration(path, &why);
    if (!calibration || !m_camera.chooseLens(LensFrom(*calibration))) {
        QMessageBox::warning(this, windowTitle(),
                             why.isEmpty() ? tr("The lens in %1 makes no sense.").arg(path) : why);
        return;
    }
    fill(extras::LensOf(m_camera.player()).value_or(m_lens));
}

void LensDialog::findIt()
{
    m_camera.chooseLens(std::nullopt);
    fill(extras::LensOf(m_camera.player()).value_or(m_lens));
}

/// The engine finds a lens some pictures after it was asked to.
void LensDialog::follow()
{
    const std::optional<RvLens> lens = extras::LensOf(m_camera.player());
    if (m_camera.settings().lens || !lens || std::isnan(lens->dCentreX))
        return;
    const auto numbers = [](const RvLens& of) {
        return std::tie(of.iModel, of.dFieldOfView, of.dCentreX, of.dCentreY, of.dCircleRadius);
    };
    if (numbers(*lens) == numbers(m_lens))
        return;  // else what is being typed would be lost
    fill(*lens);
    m_camera.drawCircle();
}

void LensDialog::accept()
{
    m_camera.editCircle(false);
    QDialog::accept();
}

void LensDialog::reject()
{
    m_filling = true;  // a number that is not done is when its field goes, and no change any more
    m_camera.chooseLens(m_camera.lastingSettings().lens);
    m_camera.editCircle(false);
    QDialog::reject();
}

}  // namespace viewer
