#pragma once

#include "platform/UrlSession.h"

#include <QFile>
#include <QIODevice>

#include <memory>

namespace quorvel::platform {

/// A request body as a device: some bytes, a file, some bytes. The file is read while the body is sent, so its size
/// does not matter to memory; it can be sent again from the start, as an HTTP client must when a kept connection turns
/// out dead.
class FileBodyDevice final : public QIODevice
{
public:
    /// Fails when the file is missing, no regular file, or not readable.
    [[nodiscard]] static Result<std::unique_ptr<FileBodyDevice>> open(FileBody body);

    [[nodiscard]] bool isSequential() const override { return false; }
    [[nodiscard]] qint64 size() const override;
    /// Whether the file turned out shorter than it was, or its disk failed, after the sending began.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

protected:
    qint64 readData(char* data, qint64 maximum) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    explicit FileBodyDevice(FileBody body);

    [[nodiscard]] qint64 readFile(qint64 offset, char* data, qint64 maximum);

    FileBody m_body;
    QFile m_file;
    /// What was announced to the server; a file that grows meanwhile is sent to this length.
    qint64 m_fileSize = 0;
    bool m_hasFailed = false;
};

} // namespace quorvel::platform
