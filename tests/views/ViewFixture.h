#pragma once

#include "app/AppStateFixture.h"
#include "app/QuorvelApp.h"
#include "views/MainViewModel.h"
#include "views/SymbolImageProvider.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QQuickWindow>
#include <QTemporaryFile>

namespace quorvel::test {

/// The main window on an application state on a system of fakes, found and driven as assistive technology does it.
struct ViewFixture : AppStateFixture
{
    ViewFixture()
    {
        setConsent(true);
        if (!resume.open() || resume.write("A resume.") < 0 || !resume.flush()) {
            qFatal("a temporary file cannot be written");
        }
    }

    void setConsent(bool isAccepted) const
    {
        userDefaults->suiteStore->setBool(isAccepted, QStringLiteral("consent.accepted"));
    }

    /// Opens the window and waits until it is shown.
    [[nodiscard]] bool open()
    {
        engine.addImageProvider(QStringLiteral("symbols"), new SymbolImageProvider);
        QObject::connect(&engine, &QQmlEngine::warnings, [this](const QList<QQmlError>& faults) {
            for (const QQmlError& fault : faults) {
                warnings << fault.toString();
            }
        });
        QAccessible::setActive(true);
        app = std::make_unique<QuorvelApp>(services(), origin(), engine);
        if (!app->showMainWindow(std::make_unique<MainViewModel>(app->appState()))) {
            return false;
        }
        window = app->mainWindow();
        state = app->appState().shared_from_this();
        settle();
        return QTest::qWaitForWindowExposed(window);
    }

    /// The first visible control with this role and name, or null.
    [[nodiscard]] QAccessibleInterface* find(QAccessible::Role role, const QString& name) const
    {
        return findBelow(QAccessible::queryAccessibleInterface(window), role, name);
    }

    /// Whether such a control appears; list rows are made with the next frame.
    [[nodiscard]] bool shows(QAccessible::Role role, const QString& name) const
    {
        return waitUntil([&] { return find(role, name) != nullptr; }, std::chrono::seconds(2));
    }

    [[nodiscard]] bool hides(QAccessible::Role role, const QString& name) const
    {
        return waitUntil([&] { return find(role, name) == nullptr; }, std::chrono::seconds(2));
    }

    /// Presses a button; false when there is none of this name.
    [[nodiscard]] bool press(const QString& name) const
    {
        QAccessibleInterface* button = find(QAccessible::Button, name);
        if (button == nullptr || button->actionInterface() == nullptr) {
            return false;
        }
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        settle();
        return true;
    }

    /// What assistive technology sees, a line for each control; for messages of failed tests.
    [[nodiscard]] QString tree() const { return treeBelow(QAccessible::queryAccessibleInterface(window), 0); }

    QTemporaryFile resume;
    QQmlEngine engine;
    std::unique_ptr<QuorvelApp> app;
    QQuickWindow* window = nullptr;
    QStringList warnings;

private:
    static QString treeBelow(QAccessibleInterface* parent, int depth)
    {
        QString text;
        for (int index = 0; parent != nullptr && index < parent->childCount(); ++index) {
            QAccessibleInterface* child = parent->child(index);
            if (child != nullptr && !child->state().invisible) {
                text += QStringLiteral("%1%2 \"%3\"\n")
                            .arg(QString(depth * 2, u' '))
                            .arg(child->role())
                            .arg(child->text(QAccessible::Name));
                text += treeBelow(child, depth + 1);
            }
        }
        return text;
    }

    static QAccessibleInterface* findBelow(QAccessibleInterface* parent, QAccessible::Role role, const QString& name)
    {
        for (int index = 0; parent != nullptr && index < parent->childCount(); ++index) {
            QAccessibleInterface* child = parent->child(index);
            if (child == nullptr || child->state().invisible) {
                continue;
            }
            if (child->role() == role && child->text(QAccessible::Name) == name) {
                return child;
            }
            if (QAccessibleInterface* found = findBelow(child, role, name)) {
                return found;
            }
        }
        return nullptr;
    }
};

} // namespace quorvel::test
