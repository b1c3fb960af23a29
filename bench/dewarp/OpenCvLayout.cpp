#include <cmath>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/dewarp/Others.h"

namespace dewarp::bench {

namespace {

struct Maps
{
    cv::Mat places, fractions;
};

/// Maps for a plane of a view: width x height samples over a plane `scale` times smaller than the
/// picture, its samples centred among their luma samples.
Maps MapsOf(const ViewSettings& view, int size, int width, int height, int scale)
{
    cv::Mat x(height, width, CV_32FC1), y(height, width, CV_32FC1);
    std::vector<double> fractions(width);
    std::vector<double> down(width);
    std::vector<SourcePoint> points(width);
    for (int i = 0; i < width; ++i)
        fractions[i] = (i + 0.5) / width;
    const ViewMapping mapping(view, size);
    for (int row = 0; row < height; ++row) {
        down.assign(width, (row + 0.5) / height);
        mapping.Map(fractions.data(), down.data(), width, points.data());
        for (int i = 0; i < width; ++i) {
            const bool known = !std::isnan(points[i].x);
            const auto place = [&](double p) {
                return known ? static_cast<float>((p + 0.5) / scale - 0.5) : -10.f;
            };
            x.at<float>(row, i) = place(points[i].x);
            y.at<float>(row, i) = place(points[i].y);
        }
    }
    Maps maps;
    cv::convertMaps(x, y, maps.places, maps.fractions, CV_16SC2);
    return maps;
}

class OpenCvLayout : public Other
{
public:
    explicit OpenCvLayout(const Picture& picture)
    {
        for (int i = 0; i < 3; ++i) {
            const int size = i == 0 ? picture.width : (picture.width + 1) / 2;
            m_planes[i] = cv::Mat(size, size, CV_8UC1, const_cast<std::uint8_t*>(picture.plane[i]),
                                  static_cast<std::size_t>(picture.lineSize[i]));
        }
        for (const ViewSettings& settings : LayoutViews()) {
            View view;
            view.maps[0] = MapsOf(settings, picture.width, settings.width, settings.height, 1);
            view.maps[1] =
                MapsOf(settings, picture.width, settings.width / 2, settings.height / 2, 2);
            view.yuv.create(settings.height * 3 / 2, settings.width, CV_8UC1);
            std::uint8_t* const chroma = view.yuv.ptr(settings.height);
            view.planes[0] = view.yuv.rowRange(0, settings.height);
            for (int i = 0; i < 2; ++i)
                view.planes[1 + i] = cv::Mat(settings.height / 2, settings.width / 2, CV_8UC1,
                                             chroma + static_cast<std::ptrdiff_t>(i) *
                                                          settings.width * settings.height / 4);
            view.bgra.create(settings.height, settings.width, CV_8UC4);
            m_views.push_back(view);
        }
    }

    bool Draw() override
    {
        for (View& view : m_views) {
            for (int i = 0; i < 3; ++i) {
                const Maps& maps = view.maps[i == 0 ? 0 : 1];
                cv::remap(m_planes[i], view.planes[i], maps.places, maps.fractions,
                          cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(i == 0 ? 16 : 128));
            }
            cv::cvtColor(view.yuv, view.bgra, cv::COLOR_YUV2BGRA_I420);
        }
        return true;
    }

    const std::uint8_t* Pixels(std::size_t view, std::ptrdiff_t& line) const override
    {
        line = static_cast<std::ptrdiff_t>(m_views[view].bgra.step);
        return m_views[view].bgra.ptr();
    }

private:
    struct View
    {
        Maps maps[2];
        cv::Mat yuv, planes[3], bgra;
    };
    cv::Mat m_planes[3];
    std::vector<View> m_views;
};

}  // namespace

std::unique_ptr<Other> MakeOpenCv(const Picture& picture, int threads)
{
    cv::setNumThreads(threads);
    return std::make_unique<OpenCvLayout>(picture);
}

}  // namespace dewarp::bench
