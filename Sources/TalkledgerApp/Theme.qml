pragma Singleton

import QtQuick

/// Every colour, size and distance of the screens. Measures are logical pixels.
QtObject {
    readonly property bool isDark: appearance.isDark

    readonly property color window: isDark ? "#181B1A" : "#F6F7F5"
    readonly property color surface: isDark ? "#202423" : "#FFFFFF"
    readonly property color sidebar: isDark ? "#141716" : "#ECEEEB"
    readonly property color hover: isDark ? "#2A2F2D" : "#E3E6E2"
    readonly property color pressed: isDark ? "#343A37" : "#D8DCD7"
    readonly property color line: isDark ? "#333937" : "#D6DAD5"
    readonly property color lineStrong: isDark ? "#77827C" : "#7E8882"
    readonly property color text: isDark ? "#E7EBE8" : "#1A201D"
    readonly property color text2: isDark ? "#B0B9B3" : "#505A54"
    readonly property color text3: isDark ? "#98A29B" : "#646E68"
    readonly property color accent: isDark ? "#92B4E8" : "#2D4F86"
    readonly property color accentFill: isDark ? "#3D67A8" : "#2D4F86"
    readonly property color accentText: "#FFFFFF"
    readonly property color accentTint: isDark ? "#22334E" : "#E1E9F4"
    readonly property color accentLine: isDark ? "#3A5480" : "#B9C9E1"
    readonly property color select: isDark ? "#2A3D5C" : "#D7E1F0"
    readonly property color me: isDark ? "#7FA6E0" : "#3A619E"
    readonly property color customer: isDark ? "#74BFA3" : "#2C6B58"
    readonly property color live: isDark ? "#F0694C" : "#C13216"
    readonly property color liveText: isDark ? "#2A0B04" : "#FFFFFF"
    readonly property color liveTint: isDark ? "#331D17" : "#FCEDE8"
    readonly property color liveLine: isDark ? "#6E3A2C" : "#EBB9AC"
    readonly property color attention: isDark ? "#E4B75F" : "#7A5200"
    readonly property color attentionTint: isDark ? "#322814" : "#FBF0D4"
    readonly property color attentionLine: isDark ? "#6B5424" : "#DDBE74"
    readonly property color fail: isDark ? "#FF8FA6" : "#A3163F"
    readonly property color failTint: isDark ? "#371A22" : "#FAE7EC"
    readonly property color failLine: isDark ? "#743445" : "#E0A5B6"
    readonly property color mark: isDark ? "#6B5410" : "#FFE08A"
    readonly property color markText: isDark ? "#FFF3CC" : "#1A201D"
    readonly property color track: isDark ? "#363D3A" : "#DDE1DC"
    readonly property color scrim: isDark ? "#8C000000" : "#471A201D"

    /// All of its digits are equally wide, so a running clock stands still.
    readonly property string figures: "Noto Sans CJK JP"
    readonly property string fixedPitch: "Noto Sans Mono CJK JP"

    /// Of the Latin font, from its highest to its lowest stroke, as a share of the size.
    readonly property real latinHeight: 1.21

    readonly property int clockSize: 24
    readonly property int clockLine: 32
    readonly property int narrowClockSize: 20
    readonly property int narrowClockLine: 28
    readonly property int pageTitleSize: 20
    readonly property int pageTitleLine: 30
    readonly property int titleSize: 18
    readonly property int titleLine: 26
    readonly property int bodySize: 14
    readonly property int bodyLine: appModel.displayLanguage === "japanese" ? 22 : 21
    readonly property int controlSize: 13
    readonly property int controlLine: 20
    readonly property int smallSize: 12
    readonly property int smallLine: 18

    readonly property int gap1: 4
    readonly property int gap2: 8
    readonly property int gap3: 12
    readonly property int gap4: 16
    readonly property int gap6: 24

    readonly property int controlRadius: 6
    readonly property int cardRadius: 8
    readonly property int dialogRadius: 10

    readonly property int barHeight: 56
    readonly property int detailHeadHeight: 72
    readonly property int columnHeadHeight: 40
    readonly property int footHeight: 36
    readonly property int playbackHeight: 60
    readonly property int lowPlaybackHeight: 48
    readonly property int mainButtonHeight: 40
    readonly property int buttonHeight: 32
    readonly property int smallButtonHeight: 28
    readonly property int panelButtonHeight: 44
    readonly property int panelWidth: 360

    readonly property int dayHeight: 28
    readonly property int widestTranscript: 840
    readonly property int widestBubble: 560

    readonly property int largeFrom: 1600
    readonly property int wideFrom: 1180
    readonly property int mediumFrom: 1080
    readonly property int narrowBelow: 720
    readonly property int stackedBelow: 480
    readonly property int lowBelow: 560
    readonly property int hoverMilliseconds: 80
    readonly property int loadingMilliseconds: 150
    readonly property int foldMilliseconds: 120
    readonly property int progressMilliseconds: 200
    readonly property int meterFallMilliseconds: 300
    readonly property int meterPeakMilliseconds: 1500
    readonly property int caretMilliseconds: 1000
    readonly property int workingMilliseconds: 1200
}
