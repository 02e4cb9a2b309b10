#pragma once

#include <QString>
#include <functional>
#include <string>

class QObject;
class QWindow;

namespace fenlo {

/// What is to be saved, as the dialog words it.
struct SaveQuestion {
    QString title;
    QString filter; // "Text (*.txt)"
    QString ending; // "txt"
    QString name;   // that is offered
};

/// Asks for a file above a window. `chosen` is not called when the user thinks better of it, nor once `owner` is gone.
void askWhereToSave(const SaveQuestion& question, QWindow* above, QObject* owner,
                    std::function<void(const std::string& file)> chosen);

} // namespace fenlo
