#pragma once

#include <array>

#include <QDialog>

#include "engine/PlaySdk.h"

class QComboBox;
class QDoubleSpinBox;

namespace viewer {

class CameraWidget;

/// The lens of a camera, by numbers and by drawing its image circle on the source with the mouse.
/// Every change shows at once; Cancel takes all of them back.
class LensDialog : public QDialog
{
    Q_OBJECT

public:
    explicit LensDialog(CameraWidget& camera);

    void accept() override;
    void reject() override;

private:
    void fill(const RvLens& lens);
    void apply();
    void importFile();
    void findIt();
    void follow();

    CameraWidget& m_camera;
    RvLens m_lens{};             ///< what the fields were filled from
    double m_radiusShown = 0.0;  ///< in its field, before anybody changed it
    bool m_filling = false;
    QComboBox* m_model;
    QDoubleSpinBox* m_fieldOfView;
    QDoubleSpinBox* m_centreX;
    QDoubleSpinBox* m_centreY;
    QDoubleSpinBox* m_radius;
    QDoubleSpinBox* m_focalX;
    QDoubleSpinBox* m_focalY;
    std::array<QDoubleSpinBox*, 4> m_k{};
};

}  // namespace viewer
