import QtQuick
import Fenlo.Controls
import Fenlo.Onboarding

/// A screen of the first start. The window shows the captions below it.
Page {
    id: page

    required property OnboardingAdapter start
    property string nextCaption: "Continue" // none: the page goes on by itself
    property bool canContinue: true
    property string skipCaption: ""
    /// Who has the keyboard first; else it is the button that goes on.
    property Item first: null

    function skip() { page.start.next() }
    function proceed() { page.start.next() }
}
