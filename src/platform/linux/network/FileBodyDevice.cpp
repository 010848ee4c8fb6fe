#include "platform/linux/network/FileBodyDevice.h"

#include "platform/linux/network/NetworkSentences.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

/// Copies what `part` holds from `offset` on; nothing where the offset lies beyond it.
qint64 copyPart(const QByteArray& part, qint64 offset, char* data, qint64 maximum)
{
    const qint64 count = std::clamp(part.size() - offset, qint64{0}, maximum);
    std::copy_n(part.constData() + (count > 0 ? offset : 0), count, data);
    return count;
}

} // namespace

Result<std::unique_ptr<FileBodyDevice>> FileBodyDevice::open(FileBody body)
{
    const QFileInfo info(body.filePath);
    if (!info.exists()) {
        return std::unexpected(networkFailure(u"The file does not exist."_s));
    }
    // Opening a named pipe would wait for its other end.
    if (!info.isFile()) {
        return std::unexpected(networkFailure(u"What was chosen is not a file."_s));
    }
    std::unique_ptr<FileBodyDevice> device(new FileBodyDevice(std::move(body)));
    if (!device->m_file.open(ReadOnly | Unbuffered)) {
        return std::unexpected(networkFailure(u"The file cannot be read. Check that you may open it."_s));
    }
    device->m_fileSize = device->m_file.size();
    // Buffering here would copy every byte once more.
    device->setOpenMode(ReadOnly | Unbuffered);
    return device;
}

FileBodyDevice::FileBodyDevice(FileBody body)
    : m_body(std::move(body))
    , m_file(m_body.filePath)
{
}

qint64 FileBodyDevice::size() const
{
    return m_body.before.size() + m_fileSize + m_body.after.size();
}

qint64 FileBodyDevice::readData(char* data, qint64 maximum)
{
    const qint64 fileBegin = m_body.before.size();
    const qint64 fileEnd = fileBegin + m_fileSize;
    const qint64 begin = pos();
    qint64 count = copyPart(m_body.before, begin, data, maximum);
    if (const qint64 at = begin + count; at >= fileBegin && at < fileEnd && count < maximum) {
        const qint64 fromFile = readFile(at - fileBegin, data + count, std::min(maximum - count, fileEnd - at));
        if (fromFile < 0) {
            return -1;
        }
        count += fromFile;
    }
    if (const qint64 at = begin + count; at >= fileEnd) {
        count += copyPart(m_body.after, at - fileEnd, data + count, maximum - count);
    }
    return count;
}

qint64 FileBodyDevice::readFile(qint64 offset, char* data, qint64 maximum)
{
    const qint64 count = m_file.seek(offset) ? m_file.read(data, maximum) : -1;
    m_hasFailed = count <= 0;
    return m_hasFailed ? -1 : count;
}

qint64 FileBodyDevice::writeData(const char* /*data*/, qint64 /*size*/)
{
    return -1;
}

} // namespace quorvel::platform
