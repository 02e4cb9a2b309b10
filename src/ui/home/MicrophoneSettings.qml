import QtQuick
import Fenlo.Controls
import Fenlo.Parts

Page {
    id: page

    required property MicrophoneChoice microphone

    heading: "Microphone"

    MicrophoneRows { microphone: page.microphone }
}
