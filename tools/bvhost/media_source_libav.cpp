// Real files, read with libavformat.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "media_source.h"
#include "text.h"

namespace host {
namespace {

constexpr AVRational kUnits = {1, 10000000};  // 100 ns

class File {
public:
    explicit File(const std::wstring& path) {
        av_log_set_level(AV_LOG_QUIET);
        // A name is a local file, whatever it looks like, and what the file names isn't followed
        // to other places.
        AVDictionary* options = nullptr;
        av_dict_set(&options, "protocol_whitelist", "file", 0);
        const std::string name = "file:" + Utf8(path);
        int error = avformat_open_input(&context_, name.c_str(), nullptr, &options);
        av_dict_free(&options);
        if (error == 0) error = avformat_find_stream_info(context_, nullptr);
        if (error < 0) {
            Close();
            char reason[AV_ERROR_MAX_STRING_SIZE] = "";
            av_strerror(error, reason, sizeof reason);
            throw Problem(std::string("it can't be read: ") + reason);
        }
        video_ = Best(AVMEDIA_TYPE_VIDEO);
        audio_ = Best(AVMEDIA_TYPE_AUDIO);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { Close(); }
    AVFormatContext* operator->() const { return context_; }
    AVFormatContext* get() const { return context_; }
    const AVStream* video() const { return video_; }
    const AVStream* audio() const { return audio_; }

private:
    const AVStream* Best(AVMediaType type) const {
        const int index = av_find_best_stream(context_, type, -1, -1, nullptr, 0);
        if (index < 0) return nullptr;
        const AVStream* stream = context_->streams[index];
        return stream->disposition & AV_DISPOSITION_ATTACHED_PIC ? nullptr : stream;  // a cover is no video
    }
    void Close() { avformat_close_input(&context_); }

    AVFormatContext* context_ = nullptr;
    const AVStream* video_ = nullptr;
    const AVStream* audio_ = nullptr;
};

bool IsPicture(const AVInputFormat* format) {
    return std::strstr(format->name, "_pipe") || std::strstr(format->name, "image2");
}

}  // namespace

bool CanReadMedia() { return true; }

MediaInfo ReadMedia(const std::wstring& path) {
    const File file(path);
    MediaInfo info;
    info.video = file.video() != nullptr;
    info.audio = file.audio() != nullptr;
    info.still = info.video && IsPicture(file->iformat);
    if (!info.video && !info.audio) throw Problem("it has neither pictures nor sound");
    if (!info.still && file->duration > 0)
        info.duration = av_rescale_q(file->duration, AV_TIME_BASE_Q, kUnits);
    if (info.video && !info.still) {
        const AVRational rate = file.video()->avg_frame_rate;
        if (rate.num > 0 && rate.den > 0) info.frame_time = av_rescale(kUnits.den, rate.den, rate.num);
    }
    return info;
}

std::optional<MediaIndex> ReadIndex(const std::wstring& path) {
    const File file(path);
    const AVStream* stream = file.video() ? file.video() : file.audio();
    if (!stream) return {};
    for (unsigned i = 0; i < file->nb_streams; ++i)
        if (file->streams[i] != stream) file->streams[i]->discard = AVDISCARD_ALL;

    struct FreePacket {
        void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    };
    const std::unique_ptr<AVPacket, FreePacket> packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    MediaIndex index;
    size_t step = 1, key_frame = 0;
    bool damaged = false;
    LONGLONG end = 0;
    int status = 0;
    while ((status = av_read_frame(file.get(), packet.get())) >= 0) {
        const LONGLONG time = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        damaged = damaged || packet->flags & AV_PKT_FLAG_CORRUPT;
        if (time != AV_NOPTS_VALUE && !damaged)
            end = std::max<LONGLONG>(end, av_rescale_q(time + packet->duration, stream->time_base, kUnits));
        const bool key = packet->stream_index == stream->index && packet->flags & AV_PKT_FLAG_KEY;
        if (key && time != AV_NOPTS_VALUE && key_frame++ % step == 0)
            index.entries.push_back({av_rescale_q(time, stream->time_base, kUnits), packet->pos});
        av_packet_unref(packet.get());
        if (index.entries.size() == MediaIndex::kMost) {
            for (size_t i = 0; i < MediaIndex::kMost / 2; ++i) index.entries[i] = index.entries[2 * i];
            index.entries.resize(MediaIndex::kMost / 2);
            step *= 2;
        }
    }
    // A part that is missing ends some formats like the real end does:
    // what counts is how far the stream goes.
    const LONGLONG whole =
        stream->duration > 0 ? av_rescale_q(stream->duration, stream->time_base, kUnits) : 0;
    constexpr LONGLONG kSlack = 10000000;  // what a file says of its length is often an estimate
    if (damaged || status != AVERROR_EOF || end + std::max(kSlack, whole / 20) < whole) {
        char text[80];
        std::snprintf(text, sizeof text, "it is damaged or not whole: reading ends at %.2f s of %.2f s",
                      double(end) / 1e7, double(whole) / 1e7);
        index.damage = text;
    }
    return index;
}

}  // namespace host
