#include <algorithm>
#include <cmath>
#include <sstream>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
}

#include "bench/dewarp/Others.h"

namespace dewarp::bench {

namespace {

std::string FilterOf(const ViewSettings& view)
{
    std::ostringstream text;
    const auto size = [&] { text << ":w=" << view.width << ":h=" << view.height; };
    switch (view.kind) {
    case Kind::Circle:
        text << "scale=" << view.width << ':' << view.height << ":flags=bilinear";
        break;
    case Kind::Panorama:
        // The whole circle about the horizon that lies across the axis, upper half of the sphere.
        text << "v360=fisheye:equirect:ih_fov=180:iv_fov=180:interp=linear:pitch=90";
        size();
        break;
    case Kind::Perspective: {
        const double degrees = 360 / 3.14159265358979323846;
        const int shorter = std::min(view.width, view.height);
        text << "v360=fisheye:flat:ih_fov=180:iv_fov=180:interp=linear:h_fov="
             << std::atan(1.0 * view.width / shorter) * degrees
             << ":v_fov=" << std::atan(1.0 * view.height / shorter) * degrees << ":yaw=" << view.yaw
             << ":pitch=" << view.pitch;
        size();
        break;
    }
    }
    return text.str();
}

class V360Layout : public Other
{
public:
    V360Layout(const Picture& picture, int threads)
    {
        const std::vector<ViewSettings> views = LayoutViews();
        m_graph = avfilter_graph_alloc();
        m_graph->nb_threads = threads;
        std::ostringstream text;
        text << "buffer=video_size=" << picture.width << 'x' << picture.height
             << ":pix_fmt=yuv420p:time_base=1/25,split=" << views.size();
        for (std::size_t i = 0; i < views.size(); ++i)
            text << "[i" << i << ']';
        for (std::size_t i = 0; i < views.size(); ++i)
            text << ";[i" << i << ']' << FilterOf(views[i]) << ",format=bgra,buffersink@" << i;
        AVFilterInOut* inputs = nullptr;
        AVFilterInOut* outputs = nullptr;
        if (avfilter_graph_parse2(m_graph, text.str().c_str(), &inputs, &outputs) < 0 ||
            avfilter_graph_config(m_graph, nullptr) < 0)
            return;
        m_sinks.resize(views.size());
        for (unsigned i = 0; i < m_graph->nb_filters; ++i) {
            AVFilterContext* const filter = m_graph->filters[i];
            const std::string name = filter->filter->name;
            const std::string instance = filter->name;
            if (name == "buffer")
                m_source = filter;
            else if (name == "buffersink")
                m_sinks[std::stoul(instance.substr(instance.find('@') + 1))] = filter;
        }
        m_input = av_frame_alloc();
        m_input->format = AV_PIX_FMT_YUV420P;
        m_input->width = picture.width;
        m_input->height = picture.height;
        if (av_frame_get_buffer(m_input, 64) < 0)
            return;
        for (int plane = 0; plane < 3; ++plane) {
            const int size = plane == 0 ? picture.width : (picture.width + 1) / 2;
            for (int row = 0; row < size; ++row)
                std::copy_n(picture.plane[plane] + std::ptrdiff_t{row} * picture.lineSize[plane],
                            size,
                            m_input->data[plane] + std::ptrdiff_t{row} * m_input->linesize[plane]);
        }
        for (std::size_t i = 0; i < views.size(); ++i)
            m_frames.push_back(av_frame_alloc());
        m_ready = true;
    }

    ~V360Layout() override
    {
        for (AVFrame*& frame : m_frames)
            av_frame_free(&frame);
        av_frame_free(&m_input);
        avfilter_graph_free(&m_graph);
    }

    bool Draw() override
    {
        if (!m_ready)
            return false;
        m_input->pts = m_number++;
        if (av_buffersrc_add_frame_flags(m_source, m_input, AV_BUFFERSRC_FLAG_KEEP_REF) < 0)
            return false;
        for (std::size_t i = 0; i < m_sinks.size(); ++i) {
            av_frame_unref(m_frames[i]);
            if (av_buffersink_get_frame(m_sinks[i], m_frames[i]) < 0)
                return false;
        }
        return true;
    }

    const std::uint8_t* Pixels(std::size_t view, std::ptrdiff_t& line) const override
    {
        line = m_frames[view]->linesize[0];
        return m_frames[view]->data[0];
    }

private:
    AVFilterGraph* m_graph = nullptr;
    AVFilterContext* m_source = nullptr;
    std::vector<AVFilterContext*> m_sinks;
    AVFrame* m_input = nullptr;
    std::vector<AVFrame*> m_frames;
    std::int64_t m_number = 0;
    bool m_ready = false;
};

}  // namespace

std::unique_ptr<Other> MakeV360(const Picture& picture, int threads)
{
    return std::make_unique<V360Layout>(picture, threads);
}

}  // namespace dewarp::bench
