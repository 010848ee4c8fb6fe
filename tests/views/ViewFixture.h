#pragma once

#include "app/AppStateFixture.h"
#include "app/QuorvelApp.h"
#include "views/MainViewModel.h"
#include "views/SymbolImageProvider.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QQuickItem>
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
        auto model = std::make_unique<MainViewModel>(app->appState());
        m_mainModel = model.get();
        if (!app->showMainWindow(std::move(model))) {
            return false;
        }
        window = app->mainWindow();
        state = app->appState().shared_from_this();
        settle();
        window->requestActivate();
        return QTest::qWaitForWindowActive(window);
    }

    [[nodiscard]] MainViewModel& mainModel() const { return *m_mainModel; }

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

    /// Presses a control as assistive technology does; false when there is none of this name.
    [[nodiscard]] bool press(const QString& name, QAccessible::Role role = QAccessible::Button) const
    {
        QAccessibleInterface* control = find(role, name);
        if (control == nullptr || control->actionInterface() == nullptr) {
            return false;
        }
        control->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        settle();
        return true;
    }

    /// Replaces the text of a box; false when there is none of this name.
    [[nodiscard]] bool enter(const QString& name, const QString& text) const
    {
        QAccessibleInterface* box = find(QAccessible::EditableText, name);
        if (box == nullptr) {
            return false;
        }
        box->setText(QAccessible::Value, text);
        settle();
        return true;
    }

    /// The name of the control that has the keyboard, as far as it tells assistive technology so.
    [[nodiscard]] QString focused() const
    {
        QAccessibleInterface* control = QAccessible::queryAccessibleInterface(window->activeFocusItem());
        const bool isTold = control != nullptr && control->state().focusable && control->state().focused;
        return isTold ? control->text(QAccessible::Name) : QString();
    }

    /// Presses the tab key until the control of this name has the keyboard; false when a whole round has not found it.
    [[nodiscard]] bool tabTo(const QString& name) const
    {
        constexpr int moreThanThereAreControls = 60;
        for (int press = 0; press < moreThanThereAreControls; ++press) {
            if (focused() == name) {
                return true;
            }
            QTest::keyClick(window, Qt::Key_Tab);
        }
        return false;
    }

    void type(const QString& text) const
    {
        for (const QChar character : text) {
            QTest::keyClick(window, character.toLatin1());
        }
        settle();
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
                            .arg(QString(qsizetype{2} * depth, u' '))
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

    MainViewModel* m_mainModel = nullptr;
};

} // namespace quorvel::test
