#include "ui/parts/SaveDialog.h"

#include <QFileDialog>
#include <QStandardPaths>
#include <QWindow>
#include <utility>

namespace fenlo {

void askWhereToSave(const SaveQuestion& question, QWindow* above, QObject* owner,
                    std::function<void(const std::string& file)> chosen) {
    auto* dialog =
        new QFileDialog(nullptr, question.title, QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(question.filter);
    dialog->setDefaultSuffix(question.ending);
    dialog->selectFile(question.name);
    dialog->winId(); // makes its window
    dialog->windowHandle()->setTransientParent(above);
    QObject::connect(dialog, &QFileDialog::fileSelected, owner,
                     [chosen = std::move(chosen)](const QString& file) { chosen(file.toStdString()); });
    QObject::connect(owner, &QObject::destroyed, dialog, &QWidget::close);
    dialog->setModal(true);
    dialog->show();
}

} // namespace fenlo
