pragma Singleton
import QtQuick

// How a suggestion's safety reads: a colour and a plain word.
QtObject {
    function colour(safety: int): color {
        return ["#2e9e5b", "#d98a1c", "#d0453b"][safety] ?? "#d0453b"
    }
    function word(safety: int): string {
        return ["Safe", "Look first", "Careful"][safety] ?? "Careful"
    }
}
