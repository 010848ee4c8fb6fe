import QtQuick
import QtQuick.Controls.Basic
import Quorvel.Views

// Scrolls what is too tall for it. The control that gets the keyboard comes into view.
ScrollView {
    id: area

    readonly property Item focusedItem: Window.activeFocusItem

    contentWidth: availableWidth
    onFocusedItemChanged: reveal(focusedItem)

    function reveal(item: Item) {
        const view = contentItem as Flickable;
        let ancestor = item;
        while (ancestor && ancestor !== view.contentItem) {
            ancestor = ancestor.parent;
        }
        if (!ancestor) {
            return;
        }
        const top = item.mapToItem(view.contentItem, 0, 0).y - Theme.padding;
        const bottom = top + item.height + 2 * Theme.padding;
        if (top < view.contentY || item.height > view.height) {
            view.contentY = Math.max(0, top);
        } else if (bottom > view.contentY + view.height) {
            view.contentY = Math.min(bottom, view.contentHeight) - view.height;
        }
    }
}
