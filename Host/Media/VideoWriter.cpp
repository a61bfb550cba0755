#include "Host/Media/VideoWriter.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/HdrMetadata.h"
#include "Host/Media/WrittenFile.h"

namespace Vexorel::PrismDrift::Host {

VideoWriter::VideoWriter(const ClipOutput& output, const Container& container,
                         const ClipReader& reader, bool isPartial)
    : mOutput(output),
      mIsPartial(isPartial),
      mFrameRate(rational(reader.properties().frameRate)),
      mTimes(reader.properties(), container, mOutput) {
    if (output.file != "-") {
        mFile.emplace(output.file);
    }
    const ClipProperties& clip = reader.properties();
    try {
        mMuxer.emplace(container, mFile ? mFile->descriptor() : output.standardOutput,
                       mFile.has_value());
        if (clip.container != nullptr) {
            mClipCodec = clip.container->streams[clip.videoStream]->codecpar->codec_id;
            mCopier.emplace(clip, isPartial, *mMuxer, mOutput);
        }
        if (!mOutput.encoderPreset.empty()) { // as far as the codec is known without a frame
            checkEncoderPreset(chooseCodec(container, mOutput.codec, mClipCodec, false),
                               mOutput.encoderPreset);
        }
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotWrite(mOutput.file));
    }
}

void VideoWriter::write(ClipItem&& item) {
    keepFirstLoggedError();
    try {
        if (const auto* packet = std::get_if<ClipPacket>(&item)) {
            writePacket(*packet);
        } else {
            writeFrame(std::get<ClipFrame>(item));
        }
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotWrite(mOutput.file));
    }
}

void VideoWriter::writePacket(const ClipPacket& packet) {
    if (!mCopier || mIsPartial) {
        return;
    }
    if (mEncoder) {
        mCopier->write(packet);
    } else {
        mWaiting.push_back(packet);
    }
}

void VideoWriter::writeFrame(const ClipFrame& frame) {
    if (!mEncoder) {
        open(frame);
    }
    mEncoder->send(frame, mTimes.timeOf(frame));
    writeEncoded();
}

void VideoWriter::open(const ClipFrame& first) {
    const bool hasGlobalHeader = (mMuxer->context().oformat->flags & AVFMT_GLOBALHEADER) != 0;
    mEncoder.emplace(EncoderSettings{mOutput, mMuxer->container(), mClipCodec, mFrameRate,
                                     mTimes.unit(), hasGlobalHeader},
                     first);
    if (mIsPartial) {
        mTimes.setStart(first.time);
        if (mCopier) {
            mCopier->advanceTimecodes(first.index);
        }
    }
    HdrMetadata::of(first.picture.source.get()).addTo(mMuxer->picture());
    mMuxer->writeHeader(mEncoder->context());
    for (const ClipPacket& packet : mWaiting) {
        mCopier->write(packet);
    }
    mWaiting.clear();
}

void VideoWriter::writeEncoded() {
    auto packet = owned(av_packet_alloc());
    while (mEncoder->receive(*packet)) {
        mMuxer->write(*packet, mMuxer->picture(), mEncoder->context().time_base);
    }
}

void VideoWriter::finish() {
    if (!mEncoder) {
        return; // not one frame
    }
    keepFirstLoggedError();
    try {
        mEncoder->end();
        writeEncoded();
        mMuxer->finish();
        if (mFile) {
            checkWrittenFile(mFile->descriptor(), mMuxer->container(), mEncoder->context(),
                             mMuxer->pictures());
        }
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotWrite(mOutput.file));
    }
    if (mFile) {
        mFile->commit();
    }
}

} // namespace Vexorel::PrismDrift::Host
