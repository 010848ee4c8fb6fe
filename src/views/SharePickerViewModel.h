#pragma once

#include "views/ViewModel.h"

#include <QSortFilterProxyModel>
#include <QStringList>

namespace quorvel {

/// What the source picker derives from the state: the sources of the chosen kind.
class SharePickerViewModel final : public quorvel::ViewModel
{
    Q_OBJECT
    Q_PROPERTY(QStringList kindTitles READ kindTitles CONSTANT)
    Q_PROPERTY(QStringList kindSymbols READ kindSymbols CONSTANT)
    Q_PROPERTY(int selectedKind READ selectedKind WRITE setSelectedKind NOTIFY changed)
    /// Rows with the roles "title", "subtitle", "isLikelyMeeting", in the order of the available sources.
    Q_PROPERTY(QObject* visibleSources READ visibleSources CONSTANT)
    Q_PROPERTY(QString symbol READ symbol NOTIFY changed)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)

public:
    explicit SharePickerViewModel(AppState& state);

    [[nodiscard]] static QStringList kindTitles();
    [[nodiscard]] static QStringList kindSymbols();
    /// The position of a kind among the titles.
    [[nodiscard]] int selectedKind() const { return m_selectedKind; }
    void setSelectedKind(int kind);
    [[nodiscard]] QAbstractItemModel* visibleSources() { return &m_visibleSources; }
    [[nodiscard]] QString symbol() const;
    [[nodiscard]] QString emptyText() const;

    /// To be called each time the picker is shown: chooses the first kind that has a source.
    Q_INVOKABLE void selectPreferredKind();
    Q_INVOKABLE void refreshSources();
    /// Starts to listen to the source in this row of visibleSources.
    Q_INVOKABLE void startScreenShare(int row);

private:
    QSortFilterProxyModel m_visibleSources;
    int m_selectedKind = 0;
};

} // namespace quorvel
