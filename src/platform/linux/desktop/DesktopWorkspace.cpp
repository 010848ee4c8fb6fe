#include "platform/linux/desktop/DesktopWorkspace.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstddef>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

struct SettingsProgram
{
    const char* desktop; ///< a name as in XDG_CURRENT_DESKTOP; empty for programs of no desktop
    const char* program;
    const char* argument; ///< the page, if the program has pages
};

constexpr std::array privacyPrograms{
    SettingsProgram{.desktop = "GNOME", .program = "gnome-control-center", .argument = "microphone"},
    SettingsProgram{.desktop = "KDE", .program = "systemsettings", .argument = "kcm_pulseaudio"},
    SettingsProgram{.desktop = "KDE", .program = "systemsettings5", .argument = "kcm_pulseaudio"},
    SettingsProgram{.desktop = "X-Cinnamon", .program = "cinnamon-settings", .argument = "privacy"},
    SettingsProgram{.desktop = "XFCE", .program = "xfce4-settings-manager", .argument = ""},
    SettingsProgram{.desktop = "MATE", .program = "mate-control-center", .argument = ""},
    SettingsProgram{.desktop = "LXQt", .program = "lxqt-config", .argument = ""},
};

constexpr std::array soundPrograms{
    SettingsProgram{.desktop = "GNOME", .program = "gnome-control-center", .argument = "sound"},
    SettingsProgram{.desktop = "KDE", .program = "systemsettings", .argument = "kcm_pulseaudio"},
    SettingsProgram{.desktop = "KDE", .program = "systemsettings5", .argument = "kcm_pulseaudio"},
    SettingsProgram{.desktop = "X-Cinnamon", .program = "cinnamon-settings", .argument = "sound"},
    SettingsProgram{.desktop = "MATE", .program = "mate-volume-control", .argument = ""},
    SettingsProgram{.desktop = "LXQt", .program = "pavucontrol-qt", .argument = ""},
    SettingsProgram{.desktop = "", .program = "pavucontrol", .argument = ""},
    SettingsProgram{.desktop = "", .program = "pavucontrol-qt", .argument = ""},
};

bool start(const SettingsProgram& candidate)
{
    const QString program = QStandardPaths::findExecutable(QString::fromLatin1(candidate.program));
    if (program.isEmpty()) {
        return false;
    }
    QProcess process;
    process.setProgram(program);
    process.setArguments(QString::fromLatin1(candidate.argument).split(u' ', Qt::SkipEmptyParts));
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

template <std::size_t count>
bool startOneOf(const std::array<SettingsProgram, count>& candidates)
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
    const auto startMatching = [&](bool ofRunningDesktop) {
        return std::ranges::any_of(candidates, [&](const SettingsProgram& candidate) {
            return desktops.contains(QString::fromLatin1(candidate.desktop)) == ofRunningDesktop && start(candidate);
        });
    };
    return startMatching(true) || startMatching(false);
}

} // namespace

bool DesktopWorkspace::open(const QUrl& url)
{
    if (url == QUrl(QString::fromLatin1(privacySettingsAddress))) {
        return startOneOf(privacyPrograms) || startOneOf(soundPrograms);
    }
    if (url == QUrl(QString::fromLatin1(soundSettingsAddress))) {
        return startOneOf(soundPrograms);
    }
    return url.isValid() && QDesktopServices::openUrl(url);
}

} // namespace quorvel::platform
