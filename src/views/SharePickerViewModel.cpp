#include "views/SharePickerViewModel.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

struct KindRow
{
    CaptureSourceKind kind;
    const char* symbol;
};

constexpr std::array kinds{
    KindRow{.kind = CaptureSourceKind::browser, .symbol = "globe"},
    KindRow{.kind = CaptureSourceKind::window, .symbol = "macwindow"},
    KindRow{.kind = CaptureSourceKind::screen, .symbol = "display"},
};

const KindRow& kindAt(int index)
{
    return kinds.at(static_cast<std::size_t>(index));
}

} // namespace

SharePickerViewModel::SharePickerViewModel(AppState& state)
    : ViewModel(state)
{
    QAbstractItemModel* sources = appState()->availableSourcesModel();
    m_visibleSources.setSourceModel(sources);
    m_visibleSources.setFilterRole(sources->roleNames().key("kind"));
    setSelectedKind(0);
}

QStringList SharePickerViewModel::kindTitles()
{
    QStringList titles;
    for (const KindRow& row : kinds) {
        titles << rawValue(row.kind);
    }
    return titles;
}

QStringList SharePickerViewModel::kindSymbols()
{
    QStringList symbols;
    for (const KindRow& row : kinds) {
        symbols << QString::fromLatin1(row.symbol);
    }
    return symbols;
}

void SharePickerViewModel::setSelectedKind(int kind)
{
    m_selectedKind = kind;
    m_visibleSources.setFilterRegularExpression(
        QRegularExpression(QRegularExpression::anchoredPattern(rawValue(kindAt(kind).kind))));
    Q_EMIT changed();
}

QString SharePickerViewModel::symbol() const
{
    return QString::fromLatin1(kindAt(m_selectedKind).symbol);
}

QString SharePickerViewModel::emptyText() const
{
    return tr("No %1 sources found.").arg(rawValue(kindAt(m_selectedKind).kind).toLower());
}

void SharePickerViewModel::selectPreferredKind()
{
    const auto* const preferred = std::ranges::find_if(kinds, [this](const KindRow& row) {
        return std::ranges::any_of(appState()->availableSources(),
                                   [&row](const CaptureSource& source) { return source.kind == row.kind; });
    });
    setSelectedKind(preferred != kinds.end() ? static_cast<int>(preferred - kinds.begin())
                                             : static_cast<int>(kinds.size()) - 1);
}

void SharePickerViewModel::refreshSources()
{
    launch(appState()->refreshSources());
}

void SharePickerViewModel::startScreenShare(int row)
{
    const QModelIndex index = m_visibleSources.mapToSource(m_visibleSources.index(row, 0));
    if (index.isValid()) {
        std::optional<CaptureSource> source = appState()->availableSources()[static_cast<std::size_t>(index.row())];
        launch(appState()->startScreenShare(std::move(source)));
    }
}

} // namespace quorvel
