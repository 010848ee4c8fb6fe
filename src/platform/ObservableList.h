#pragma once

#include <QAbstractListModel>
#include <QHash>

#include <deque>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

namespace quorvel {

/// A list of values that views observe row by row. Its owner changes it; views only read. Main thread.
template <typename Value>
class ObservableList final : public QAbstractListModel
{
public:
    /// What a view can ask of a row, by name. Roles are numbered from Qt::UserRole in the order given.
    struct Role
    {
        QByteArray name;
        std::function<QVariant(const Value&)> read;
    };

    explicit ObservableList(std::vector<Role> roles, QObject* parent = nullptr)
        : QAbstractListModel(parent)
        , m_roles(std::move(roles))
    {
    }

    [[nodiscard]] const std::deque<Value>& values() const { return m_values; }

    void append(Value value) { insert(static_cast<int>(m_values.size()), std::move(value)); }
    void prepend(Value value) { insert(0, std::move(value)); }

    void removeFirst() { remove(0, 1); }
    void removeLast() { remove(static_cast<int>(m_values.size()) - 1, 1); }
    void clear() { remove(0, static_cast<int>(m_values.size())); }

    /// Replaces everything, for lists that are read anew as a whole.
    void reset(std::deque<Value> values)
    {
        beginResetModel();
        m_values = std::move(values);
        endResetModel();
    }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_values.size());
    }

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override
    {
        const auto number = static_cast<std::size_t>(role - Qt::UserRole);
        if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role < Qt::UserRole || number >= m_roles.size()) {
            return {};
        }
        return m_roles[number].read(m_values[static_cast<std::size_t>(index.row())]);
    }

    [[nodiscard]] QHash<int, QByteArray> roleNames() const override
    {
        QHash<int, QByteArray> names;
        for (std::size_t number = 0; number < m_roles.size(); ++number) {
            names.insert(Qt::UserRole + static_cast<int>(number), m_roles[number].name);
        }
        return names;
    }

private:
    void insert(int row, Value value)
    {
        beginInsertRows({}, row, row);
        m_values.insert(std::next(m_values.begin(), row), std::move(value));
        endInsertRows();
    }

    void remove(int row, int count)
    {
        if (count <= 0 || row < 0) {
            return;
        }
        beginRemoveRows({}, row, row + count - 1);
        const auto first = std::next(m_values.begin(), row);
        m_values.erase(first, std::next(first, count));
        endRemoveRows();
    }

    std::vector<Role> m_roles;
    std::deque<Value> m_values;
};

} // namespace quorvel
