#include "ui/home/GlossaryDialog.h"

#include "shell/home/GlossaryImport.h"
#include "ui/GuardedCall.h"

#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QWindow>
#include <utility>

namespace fenlo {

GlossaryDialog::GlossaryDialog() = default;

GlossaryDialog::~GlossaryDialog() = default;

void GlossaryDialog::open(std::function<void(const std::filesystem::path&)> chosen) {
    QWindow* const above = QGuiApplication::focusWindow();
    m_dialog = std::make_unique<QFileDialog>(nullptr, QString::fromUtf8(glossaryDialogMessage));
    m_dialog->setFileMode(QFileDialog::ExistingFile);
    m_dialog->setNameFilters({"Glossaries (*.txt *.csv *.json)", "All files (*)"});
    QObject::connect(m_dialog.get(), &QFileDialog::fileSelected, m_dialog.get(),
                     [chosen = std::move(chosen)](const QString& file) {
                         callGuarded([&] { chosen(QFile::encodeName(file).toStdString()); });
                     });
    m_dialog->winId(); // the window must be there to belong to another
    m_dialog->windowHandle()->setTransientParent(above);
    m_dialog->open();
}

} // namespace fenlo
