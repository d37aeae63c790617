#include "cert_actions.hpp"

#include <QAbstractItemView>
#include <QAction>
#include <QClipboard>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSaveFile>
#include <QVBoxLayout>

#include <array>

#include "alert.hpp"
#include "dialog_window.hpp"
#include "pkiui/cert_export.hpp"
#include "pkiui/path_model.hpp"
#include "test_seams.hpp"

namespace pkiui {

namespace {

struct FileFormat {
    const char *filter;
    std::array<const char *, 2> suffixes;
    bool pem;
};

constexpr std::array kFormats{
    FileFormat{"DER 编码的二进制证书 (*.cer *.der)", {"cer", "der"}, false},
    FileFormat{"Base64 编码的 PEM 证书 (*.pem *.crt)", {"pem", "crt"}, true},
};

int selectedRow(const QAbstractItemView *view)
{
    const QModelIndexList rows =
        view->selectionModel() ? view->selectionModel()->selectedRows() : QModelIndexList();
    return rows.isEmpty() ? -1 : rows.first().row();
}

// Base64 in lines of 64, as the openssl command and most tools write it.
QByteArray pemOf(const std::string &der)
{
    const QByteArray base64 = QByteArray(der.data(), static_cast<qsizetype>(der.size())).toBase64();
    QByteArray pem("-----BEGIN CERTIFICATE-----\n");
    for (qsizetype at = 0; at < base64.size(); at += 64)
        pem += base64.mid(at, 64) + '\n';
    return pem + "-----END CERTIFICATE-----\n";
}

QString suggestedPath(TAVIK_CERT_st *cert, const char *suffix)
{
    QString name = QString::fromStdString(
        ShowCertPathDlgModel::GetCertStringAttribute(cert, TAVIK_ATTR_SUBJECT_CN)
            .value_or("certificate"));
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QDir::home().filePath(name + QLatin1Char('.') + QLatin1String(suffix));
}

QString askSavePath(QWidget *parent, const QString &title, const QString &suggested,
                    const QStringList &filters, QString *chosenFilter)
{
    if (const auto answer = saveDialogAnswer(suggested))
        return *answer;
    return QFileDialog::getSaveFileName(parent, title, suggested,
                                        filters.join(QStringLiteral(";;")), chosenFilter);
}

// All or nothing: the bytes reach path only once all of them are written.
void writeFile(QWidget *parent, const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return;
    showAlert(parent, QStringLiteral("无法写入文件“%1”，请选择可以写入的文件夹")
                          .arg(QDir::toNativeSeparators(path)));
}

// A key that triggers an action of the view. Taken before the view sees it:
// item views copy one cell's text on Ctrl+C themselves.
class ShortcutKey final : public QObject {
  public:
    ShortcutKey(QKeySequence::StandardKey key, QAction *action, QObject *parent)
        : QObject(parent), m_key(key), m_action(action)
    {
    }

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const bool key =
            event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
        if (!key || !static_cast<QKeyEvent *>(event)->matches(m_key))
            return QObject::eventFilter(watched, event);
        event->accept();
        if (event->type() == QEvent::KeyPress)
            m_action->trigger();
        return true;
    }

  private:
    QKeySequence::StandardKey m_key;
    QAction *m_action;
};

class FingerprintDlg final : public QDialog {
  public:
    FingerprintDlg(TAVIK_CERT_st *cert, QWidget *parent)
        : QDialog(parent), m_cert(TavikPKICertDupCert(cert))
    {
        setObjectName(QStringLiteral("fingerprintDlg"));
        setWindowTitle(QStringLiteral("核对指纹"));
        setMinimumWidth(440);
        auto *layout = new QVBoxLayout(this);
        layout->setContentsMargins(16, 16, 16, 16);
        auto *prompt =
            new QLabel(QStringLiteral("请输入或粘贴指纹(MD5、SHA1、SHA256 或 SHA512，十六进制，"
                                      "可带空格或冒号):"),
                       this);
        prompt->setWordWrap(true);
        m_input = new QLineEdit(this);
        m_input->setObjectName(QStringLiteral("fingerprintInput"));
        m_input->setAccessibleName(QStringLiteral("指纹"));
        prompt->setBuddy(m_input);
        m_result = new QLabel(this);
        m_result->setObjectName(QStringLiteral("fingerprintResult"));
        m_result->setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
        QPushButton *close =
            makeButton(this, QStringLiteral("关闭"), QStringLiteral("closeButton"));
        close->setDefault(true);
        connect(close, &QPushButton::clicked, this, &QDialog::accept);
        connect(m_input, &QLineEdit::textChanged, this, &FingerprintDlg::check);
        layout->addWidget(prompt);
        layout->addWidget(m_input);
        layout->addWidget(m_result);
        layout->addWidget(close, 0, Qt::AlignRight);
    }

  private:
    void check(const QString &typed)
    {
        const std::string text = typed.toStdString();
        if (typed.trimmed().isEmpty()) {
            m_result->clear();
            return;
        }
        const auto match = matchingThumbprint(m_cert.get(), text);
        m_result->setText(match ? QStringLiteral("与证书的 %1 指纹一致")
                                      .arg(QString::fromUtf8(match->data(),
                                                             static_cast<qsizetype>(match->size())))
                                : QStringLiteral("与证书的指纹都不一致"));
    }

    tavik::CertPtr m_cert;
    QLineEdit *m_input = nullptr;
    QLabel *m_result = nullptr;
};

} // namespace

void addContextMenu(QAbstractItemView *view, const std::vector<ListAction> &actions)
{
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    QList<QAction *> menuActions;
    QList<QAction *> rowActions;
    for (const ListAction &entry : actions) {
        auto *action = new QAction(view);
        menuActions << action;
        if (!entry.text) {
            action->setSeparator(true);
            continue;
        }
        action->setText(QString::fromUtf8(entry.text));
        action->setObjectName(QString::fromLatin1(entry.name));
        if (entry.shortcut != QKeySequence::UnknownKey) {
            action->setShortcut(entry.shortcut);
            action->setShortcutContext(Qt::WidgetShortcut);
            view->installEventFilter(new ShortcutKey(entry.shortcut, action, view));
        }
        if (entry.needsRow)
            rowActions << action;
        QObject::connect(action, &QAction::triggered, view,
                         [view, run = entry.run, needsRow = entry.needsRow] {
                             const int row = selectedRow(view);
                             if (!needsRow || row >= 0)
                                 run(row);
                         });
    }
    QObject::connect(view, &QWidget::customContextMenuRequested, view,
                     [view, menuActions, rowActions](const QPoint &at) {
                         const bool hasRow = selectedRow(view) >= 0;
                         for (QAction *action : rowActions)
                             action->setEnabled(hasRow);
                         QMenu menu(view);
                         menu.setObjectName(QStringLiteral("contextMenu"));
                         menu.addActions(menuActions);
                         menu.exec(view->viewport()->mapToGlobal(at));
                         // Greyed in the menu only: the keys trigger them too.
                         for (QAction *action : rowActions)
                             action->setEnabled(true);
                     });
}

void copyText(const std::string &text)
{
    QString plain = QString::fromStdString(text);
    plain.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    QGuiApplication::clipboard()->setText(plain);
}

void exportCertificate(QWidget *parent, TAVIK_CERT_st *cert)
{
    const std::string der = certificateDer(cert);
    if (der.empty())
        return showAlert(parent, QStringLiteral("读取证书信息失败"));
    QStringList filters;
    for (const FileFormat &format : kFormats)
        filters << QString::fromUtf8(format.filter);
    QString chosenFilter = filters.first();
    const QString path =
        askSavePath(parent, QStringLiteral("导出证书"),
                    suggestedPath(cert, kFormats[0].suffixes[0]), filters, &chosenFilter);
    if (path.isEmpty())
        return;
    const QString suffix = QFileInfo(path).suffix().toLower();
    const FileFormat *format =
        &kFormats[static_cast<std::size_t>(std::max<qsizetype>(0, filters.indexOf(chosenFilter)))];
    for (const FileFormat &candidate : kFormats)
        for (const char *known : candidate.suffixes)
            if (suffix == QLatin1String(known))
                format = &candidate;
    writeFile(parent, path,
              format->pem ? pemOf(der)
                          : QByteArray(der.data(), static_cast<qsizetype>(der.size())));
}

void exportChain(QWidget *parent, const std::vector<TAVIK_CERT_st *> &certs)
{
    QByteArray pem;
    for (TAVIK_CERT_st *cert : certs) {
        const std::string der = certificateDer(cert);
        if (der.empty())
            return showAlert(parent, QStringLiteral("读取证书信息失败"));
        pem += pemOf(der);
    }
    if (certs.empty())
        return;
    const QString path =
        askSavePath(parent, QStringLiteral("导出证书链"), suggestedPath(certs.front(), "pem"),
                    {QString::fromUtf8(kFormats[1].filter)}, nullptr);
    if (!path.isEmpty())
        writeFile(parent, path, pem);
}

void openFingerprintCheck(QWidget *parent, TAVIK_CERT_st *cert)
{
    auto *dialog = new FingerprintDlg(cert, parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // As modal as the viewer under it, like an alert.
    dialog->setWindowModality(modalityOver(parent));
    dialog->show();
    dialog->activateWindow();
}

} // namespace pkiui
