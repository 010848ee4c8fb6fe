#include "platform/linux/desktop/IniUserDefaults.h"

#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

constexpr QByteArrayView dataPrefix("data:");
constexpr QByteArrayView trueWord("true");
constexpr QByteArrayView falseWord("false");

/// Keeps other processes from writing to a folder's stores. The kernel ends it with the process, however that ends.
class FolderLock
{
public:
    explicit FolderLock(const QString& directory)
        : m_descriptor(open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        if (m_descriptor >= 0) {
            flock(m_descriptor, LOCK_EX);
        }
    }
    ~FolderLock()
    {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock(FolderLock&&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    FolderLock& operator=(FolderLock&&) = delete;

private:
    int m_descriptor;
};

QByteArray encodedKey(const QString& key)
{
    return key.toUtf8().toPercentEncoding();
}

/// One line of printable ASCII, whatever the bytes are; JSON stays readable.
QByteArray encodedData(const QByteArray& data)
{
    return dataPrefix.toByteArray() + data.toPercentEncoding(" !\"'()*+,/:;<=>?@[]{}|");
}

bool isLineOf(const QByteArray& line, const QByteArray& key)
{
    return line.size() > key.size() && line.startsWith(key) && line.at(key.size()) == '=';
}

class IniUserDefaults final : public UserDefaults
{
public:
    explicit IniUserDefaults(QString filePath)
        : m_filePath(std::move(filePath))
    {
        removeLeftovers();
    }

    [[nodiscard]] std::optional<QByteArray> dataForKey(const QString& key) const override
    {
        const QByteArray value = valueFor(encodedKey(key));
        if (!value.startsWith(dataPrefix)) {
            return std::nullopt;
        }
        return QByteArray::fromPercentEncoding(value.sliced(dataPrefix.size()));
    }

    void setData(const QByteArray& data, const QString& key) override { set(encodedKey(key), encodedData(data)); }

    [[nodiscard]] bool boolForKey(const QString& key) const override { return valueFor(encodedKey(key)) == trueWord; }

    void setBool(bool value, const QString& key) override
    {
        set(encodedKey(key), (value ? trueWord : falseWord).toByteArray());
    }

private:
    /// The value's text; empty when there is none. Of a key that is there twice the last counts.
    [[nodiscard]] QByteArray valueFor(const QByteArray& key) const
    {
        if (const auto unsaved = m_unsaved.constFind(key); unsaved != m_unsaved.cend()) {
            return *unsaved;
        }
        QByteArray value;
        for (const QByteArray& line : readLines().value_or(QByteArrayList())) {
            if (isLineOf(line, key)) {
                value = line.sliced(key.size() + 1).trimmed();
            }
        }
        return value;
    }

    void set(const QByteArray& key, const QByteArray& value)
    {
        m_unsaved.insert(key, value);
        const FolderLock lock(QFileInfo(m_filePath).absolutePath());
        std::optional<QByteArrayList> lines = readLines();
        if (!lines) {
            return; // Writing now would lose what cannot be read.
        }
        for (const auto& [changedKey, changedValue] : m_unsaved.asKeyValueRange()) {
            erase_if(*lines, [&changed = changedKey](const QByteArray& line) { return isLineOf(line, changed); });
            lines->append(changedKey + '=' + changedValue);
        }
        if (write(lines->join('\n') + '\n')) {
            m_unsaved.clear();
        }
    }

    /// None without a file; nothing when there is one that cannot be read.
    [[nodiscard]] std::optional<QByteArrayList> readLines() const
    {
        QFile file(m_filePath);
        if (!file.exists()) {
            return QByteArrayList();
        }
        if (!file.open(QIODevice::ReadOnly)) {
            return std::nullopt;
        }
        QByteArray content = file.readAll();
        if (file.error() != QFileDevice::NoError) {
            return std::nullopt;
        }
        while (content.endsWith('\n')) {
            content.chop(1);
        }
        return content.isEmpty() ? QByteArrayList() : content.split('\n');
    }

    [[nodiscard]] bool write(const QByteArray& content) const
    {
        QSaveFile file(m_filePath);
        // A buffered file takes every byte and, on a full disk, commits those that there was room for.
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            return false;
        }
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        if (file.write(content) != content.size()) {
            file.cancelWriting();
        }
        return file.commit();
    }

    /// What a writer left behind that was killed in the middle; only names that a temporary file has.
    void removeLeftovers() const
    {
        const QFileInfo file(m_filePath);
        QDir directory = file.absoluteDir();
        const FolderLock lock(directory.path());
        for (const QString& leftover : directory.entryList({file.fileName() + ".??????"_L1}, QDir::Files)) {
            directory.remove(leftover);
        }
    }

    QString m_filePath;
    QHash<QByteArray, QByteArray> m_unsaved;
};

bool isUsable(const QFileInfo& file)
{
    return file.exists() ? file.isFile() && file.isReadable() : QDir().mkpath(file.absolutePath());
}

} // namespace

IniUserDefaultsProvider::IniUserDefaultsProvider(QString directory)
    : m_directory(std::move(directory))
{
}

QString IniUserDefaultsProvider::defaultDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/quorvel"_L1;
}

std::shared_ptr<UserDefaults> IniUserDefaultsProvider::suite(const QString& name)
{
    const QString path = filePath(name);
    return isUsable(QFileInfo(path)) ? std::make_shared<IniUserDefaults>(path) : nullptr;
}

std::shared_ptr<UserDefaults> IniUserDefaultsProvider::standard()
{
    return std::make_shared<IniUserDefaults>(filePath(u"standard"_s));
}

QString IniUserDefaultsProvider::filePath(const QString& name) const
{
    return m_directory + u'/' + name + ".ini"_L1;
}

} // namespace quorvel::platform
