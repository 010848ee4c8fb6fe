#pragma once

#include "app/AppState.h"

#include <QObject>

namespace quorvel {

/// What a screen derives from the application's state: texts, enabled rules, and the way to operations that suspend.
/// Screens only bind to it. Main thread. Classes derived from it write its name in full, or the code generator for QML
/// does not find it.
class ViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quorvel::AppState* appState READ appState CONSTANT)

public:
    /// The state outlives the view model.
    explicit ViewModel(AppState& state)
        : m_state(state)
    {
    }

    [[nodiscard]] AppState* appState() const { return &m_state; }

Q_SIGNALS:
    /// Something that the screen shows may be different.
    void changed();

protected:
    /// Follows signals of the state.
    template <typename... Signal>
    void observe(Signal... signal)
    {
        (connect(&m_state, signal, this, &ViewModel::changed), ...);
    }

private:
    AppState& m_state;
};

} // namespace quorvel
