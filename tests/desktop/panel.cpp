// A panel for the desktop tests: takes the icons of programs, and answers each line on standard input with the labels
// of the menu that came last, as a JSON array in one line. A line that is not empty names the entry to choose first.

#include "ui/Application.h"
#include "ui/FakePanel.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <iostream>
#include <string>

int main() {
    fenlo::test::Application application;
    fenlo::test::FakePanel panel;
    for (std::string line; std::getline(std::cin, line);) {
        QJsonArray labels;
        if (fenlo::test::pumpUntil([&] { return !panel.registered.isEmpty(); }, 0.1)) {
            if (!line.empty() && !panel.choose(QString::fromStdString(line)))
                std::cerr << "panel: no entry " << line << std::endl;
            for (const fenlo::BusMenuLayout& item : panel.menu().children)
                labels.append(item.properties.value(QStringLiteral("label")).toString());
        }
        std::cout << QJsonDocument(labels).toJson(QJsonDocument::Compact).toStdString() << std::endl;
    }
}
