#include "check/pictureheader.h"

#include <QtEndian>

#include <array>

namespace Check {

namespace {

/// 0 where the bytes end before.
template <typename Number> Number bigEndian(const QByteArray &bytes, qsizetype at)
{
    return bytes.size() - at < static_cast<qsizetype>(sizeof(Number)) ? 0
                                                                      : qFromBigEndian<Number>(bytes.constData() + at);
}

template <typename Number> Number littleEndian(const QByteArray &bytes, qsizetype at)
{
    return bytes.size() - at < static_cast<qsizetype>(sizeof(Number))
               ? 0
               : qFromLittleEndian<Number>(bytes.constData() + at);
}

void readPng(const QByteArray &content, PictureHeader *header)
{
    if (content.mid(12, 4) != "IHDR")
        return;
    header->width = bigEndian<quint32>(content, 16);
    header->height = bigEndian<quint32>(content, 20);
}

void readGif(const QByteArray &content, PictureHeader *header)
{
    header->width = littleEndian<quint16>(content, 6);
    header->height = littleEndian<quint16>(content, 8);
}

/// Whether a segment begins with the size: SOF0 to SOF15, but not DHT, JPG and DAC between them.
bool isStartOfFrame(uchar marker)
{
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

/// Whether a marker has no segment: TEM, RST0 to RST7, SOI, or no marker at all.
bool isAlone(uchar marker)
{
    return marker <= 0x01 || (marker >= 0xd0 && marker <= 0xd8);
}

void readJpeg(const QByteArray &content, PictureHeader *header)
{
    constexpr uchar END_OF_IMAGE = 0xd9;
    constexpr uchar START_OF_SCAN = 0xda;
    // Decoders look for the next 0xff, and take any number of them for one.
    qsizetype at = content.indexOf('\xff', 2);
    while (at >= 0 && at + 1 < content.size()) {
        ++at;
        const auto marker = static_cast<uchar>(content.at(at));
        if (marker == 0xff)
            continue;
        if (marker == END_OF_IMAGE || marker == START_OF_SCAN)
            return;
        if (isStartOfFrame(marker)) {
            header->height = bigEndian<quint16>(content, at + 4);
            header->width = bigEndian<quint16>(content, at + 6);
            return;
        }
        // The length counts itself.
        const qsizetype length = isAlone(marker) ? 0 : bigEndian<quint16>(content, at + 1);
        if (length < 2 && !isAlone(marker))
            return;
        at = content.indexOf('\xff', at + 1 + length);
    }
}

struct Format
{
    PictureHeader::Kind kind;
    QByteArray begin;
    void (*readSize)(const QByteArray &content, PictureHeader *header);
};

} // namespace

PictureHeader pictureHeader(const QByteArray &content)
{
    static const std::array<Format, 3> formats{{
        {PictureHeader::Png, "\x89PNG\r\n\x1a\n", readPng},
        {PictureHeader::Gif, "GIF8", readGif},
        {PictureHeader::Jpeg, "\xff\xd8\xff", readJpeg},
    }};
    PictureHeader header;
    for (const Format &format : formats) {
        if (!content.startsWith(format.begin))
            continue;
        header.kind = format.kind;
        format.readSize(content, &header);
    }
    return header;
}

} // namespace Check
