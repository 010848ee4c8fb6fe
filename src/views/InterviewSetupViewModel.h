#pragma once

#include "views/ViewModel.h"

#include <QStringList>
#include <QUrl>

namespace quorvel {

/// What the interview setup derives from the state.
class InterviewSetupViewModel final : public quorvel::ViewModel
{
    Q_OBJECT
    Q_PROPERTY(bool hasResume READ hasResume NOTIFY changed)
    Q_PROPERTY(bool hasJobDescription READ hasJobDescription NOTIFY changed)
    Q_PROPERTY(bool hasRole READ hasRole NOTIFY changed)
    Q_PROPERTY(bool isComplete READ isComplete NOTIFY changed)
    Q_PROPERTY(bool isDevelopmentMode READ isDevelopmentMode NOTIFY changed)
    Q_PROPERTY(QString uploadTitle READ uploadTitle NOTIFY changed)
    Q_PROPERTY(QString uploadHint READ uploadHint NOTIFY changed)
    Q_PROPERTY(QStringList modeTitles READ modeTitles CONSTANT)
    Q_PROPERTY(int modeIndex READ modeIndex WRITE setModeIndex NOTIFY changed)
    Q_PROPERTY(QString modeText READ modeText NOTIFY changed)
    Q_PROPERTY(QString keytermsLine READ keytermsLine NOTIFY changed)
    Q_PROPERTY(bool canReset READ canReset NOTIFY changed)
    Q_PROPERTY(QString saveTitle READ saveTitle NOTIFY changed)

public:
    explicit InterviewSetupViewModel(AppState& state);

    // The steps. All but the last look at the text as it was typed: blanks count as filled.

    [[nodiscard]] bool hasResume() const;
    [[nodiscard]] bool hasJobDescription() const;
    [[nodiscard]] bool hasRole() const;
    [[nodiscard]] bool isComplete() const;
    [[nodiscard]] bool isDevelopmentMode() const;

    // The cards.

    [[nodiscard]] QString uploadTitle() const;
    [[nodiscard]] QString uploadHint() const;
    Q_INVOKABLE void extractResume(const QUrl& file);
    [[nodiscard]] static QStringList modeTitles();
    [[nodiscard]] int modeIndex() const;
    void setModeIndex(int index);
    [[nodiscard]] QString modeText() const;
    /// The first of the key terms; empty when there are none.
    [[nodiscard]] QString keytermsLine() const;

    // The actions.

    [[nodiscard]] bool canReset() const;
    [[nodiscard]] QString saveTitle() const;
};

} // namespace quorvel
