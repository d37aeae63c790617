#include "show_cert_info_dlg.hpp"

#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include <memory>
#include <utility>

#include "alert.hpp"
#include "show_cert_detail_dlg.hpp"
#include "show_cert_path_dlg.hpp"
#include "show_cert_routine_dlg.hpp"
#include "test_seams.hpp"

namespace pkiui {

ShowCertInfoDlg::ShowCertInfoDlg(QWidget *parent) : DialogView(parent)
{
    layoutSubViews();
}

void ShowCertInfoDlg::layoutSubViews()
{
    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(16, 16, 16, 16);
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_tabs->setAccessibleName(QStringLiteral("证书"));
    m_tabs->addTab(showCertRoutineDlg(), QStringLiteral("常规"));
    m_tabs->addTab(showCertDetailDlg(), QStringLiteral("详细信息"));
    m_tabs->addTab(showCertPathDlg(), QStringLiteral("证书路径"));
    stack->addWidget(m_tabs, 1);
    // The tab bar first: arrows switch tabs, Tab walks into the page.
    m_tabs->setFocus();

    m_okButton = makeButton(this, QStringLiteral("确定"), QStringLiteral("okButton"));
    m_okButton->setFixedSize(fitting(m_okButton, {100, 44}));
    stack->addWidget(m_okButton, 0, Qt::AlignHCenter);
    connect(m_okButton, &QPushButton::clicked, this, &ShowCertInfoDlg::okButtonClicked);
}

ShowCertRoutineDlg *ShowCertInfoDlg::showCertRoutineDlg()
{
    if (!m_routine)
        m_routine = new ShowCertRoutineDlg(this);
    return m_routine;
}

ShowCertDetailDlg *ShowCertInfoDlg::showCertDetailDlg()
{
    if (!m_detail)
        m_detail = new ShowCertDetailDlg(this);
    return m_detail;
}

ShowCertPathDlg *ShowCertInfoDlg::showCertPathDlg()
{
    if (!m_path)
        m_path = new ShowCertPathDlg(this);
    return m_path;
}

void ShowCertInfoDlg::replacePage(QWidget *old, QWidget *page)
{
    const int index = m_tabs->indexOf(old);
    if (index < 0)
        return;
    const QString label = m_tabs->tabText(index);
    m_tabs->removeTab(index);
    m_tabs->insertTab(index, page, label);
    delete old;
}

void ShowCertInfoDlg::setShowCertRoutineDlg(ShowCertRoutineDlg *tab)
{
    replacePage(std::exchange(m_routine, tab), tab);
}

void ShowCertInfoDlg::setShowCertDetailDlg(ShowCertDetailDlg *tab)
{
    replacePage(std::exchange(m_detail, tab), tab);
}

void ShowCertInfoDlg::setShowCertPathDlg(ShowCertPathDlg *tab)
{
    replacePage(std::exchange(m_path, tab), tab);
}

int ShowCertInfoDlg::setCertHandle(TAVIK_CERT_st *cert)
{
    if (!cert)
        return 0;
    // A tab that cannot read the certificate still leaves the viewer usable.
    showCertRoutineDlg()->setCertHandle(cert);
    showCertPathDlg()->setCertHandle(cert);
    showCertDetailDlg()->setCertHandle(cert);
    return 1;
}

void ShowCertInfoDlg::setOwner(QWidget *owner)
{
    DialogView::setOwner(owner);
    showCertPathDlg()->setOwner(owner);
}

void ShowCertInfoDlg::okButtonClicked()
{
    if (m_shouldStopApp)
        emit finished();
    else if (m_owner)
        m_owner->hide();
}

ViewerWindow makeViewerWindow(QWidget *owner, TAVIK_CERT_st *cert)
{
    auto window = std::make_unique<DialogWindow>(owner, QStringLiteral("证书"), QSize(400, 450),
                                                 TitleButtons::MinimiseOnly);
    window->setObjectName(QStringLiteral("certViewerWindow"));
    auto *view = new ShowCertInfoDlg(window.get());
    if (view->setCertHandle(cert) != 1)
        return {};
    view->setOwner(window.get());
    window->setView(view);
    return {std::move(window), view};
}

int displayCert(QWidget *parent, TAVIK_CERT_st *cert)
{
    QWidget *owner = parent ? parent->window() : nullptr;
    // With a parent the window is the parent's child (and goes with it);
    // without one it lives for this call only.
    auto [window, view] = makeViewerWindow(owner, cert);
    if (!window) {
        showAlert(owner, QStringLiteral("读取证书信息失败"));
        return 0;
    }
    if (owner) {
        view->setShouldStopApp(false);
        window->setDeleteWhenHidden(true);
        window->centre();
        window->show();
        // Brought to the front with the keys, for a user who opened it by keyboard.
        window->raise();
        window->activateWindow();
        notifyDialogShown(window.get());
        window.release(); // owned by the parent now
        return 1;
    }
    view->setShouldStopApp(true);
    runDialog(*window, *view);
    return 1;
}

} // namespace pkiui
