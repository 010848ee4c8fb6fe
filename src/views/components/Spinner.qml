import QtQuick
import Quorvel.Views

// Shows that something is under way. It stands still where the desktop asks for no motion.
SymbolIcon {
    id: spinner

    required property string label

    symbol: "progress.indicator"
    color: Theme.secondaryText
    size: 18
    Accessible.ignored: false
    Accessible.role: Accessible.ProgressBar
    Accessible.name: label

    RotationAnimator on rotation {
        running: spinner.visible && !Theme.reducesMotion
        from: 0
        to: 360
        duration: 1000
        loops: Animation.Infinite
    }
}
