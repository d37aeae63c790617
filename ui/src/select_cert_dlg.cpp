#include "select_cert_dlg.hpp"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <array>
#include <string_view>

#include "Tavik_PKI_Crypto_UI.h"
#include "cert_actions.hpp"

namespace pkiui {

namespace {

struct ColumnLayout {
    std::string_view identifier;
    int width;
    const char *title;
};

// Together wider than the window: the list scrolls sideways.
constexpr std::array kColumnLayouts{
    ColumnLayout{subjectColumnIdentifier, 100, "颁发给"},
    ColumnLayout{certTypeColumnIdentifier, 50, "类型"},
    ColumnLayout{usageColumnColumnIdentifier, 60, "用法"},
    ColumnLayout{validateColumnIdentifier, 80, "截止日期"},
    ColumnLayout{issuerColumnIdentifier, 300, "颁发者"},
    ColumnLayout{otherNameColumnIdentifier, 100, "好记名称"},
};

} // namespace

SelectCertTableModel::SelectCertTableModel(SelectCertDlgModel &model, QObject *parent)
    : QAbstractTableModel(parent), m_model(model)
{
}

int SelectCertTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_model.numberOfRows();
}

int SelectCertTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(kColumnLayouts.size());
}

QVariant SelectCertTableModel::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.column() >= columnCount())
        return {};
    const std::string_view identifier =
        kColumnLayouts[static_cast<std::size_t>(index.column())].identifier;
    return QString::fromStdString(m_model.cellText(index.row(), identifier));
}

QVariant SelectCertTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= columnCount())
        return {};
    return QString::fromUtf8(kColumnLayouts[static_cast<std::size_t>(section)].title);
}

void SelectCertTableModel::reloadData()
{
    beginResetModel();
    endResetModel();
}

SelectCertDlg::SelectCertDlg(QWidget *parent) : DialogView(parent)
{
    setObjectName(QStringLiteral("selectCertDlg"));
    layoutSubView();
}

void SelectCertDlg::layoutSubView()
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);

    auto *prompt = new QLabel(QStringLiteral("请选择证书:"), this);
    prompt->setObjectName(QStringLiteral("promptLabel"));
    QFont bold = prompt->font();
    bold.setBold(true);
    bold.setPointSize(14);
    prompt->setFont(bold);
    prompt->setContentsMargins(8, 0, 0, 0);
    mainStack->addWidget(prompt);

    m_tableModel = new SelectCertTableModel(m_dlgModel, this);
    m_certTableView = new QTableView(this);
    m_certTableView->setObjectName(QStringLiteral("certTableView"));
    m_certTableView->setModel(m_tableModel);
    m_certTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_certTableView->setSelectionMode(QAbstractItemView::SingleSelection);
    m_certTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_certTableView->setShowGrid(false);
    m_certTableView->setWordWrap(false);
    m_certTableView->setTextElideMode(Qt::ElideRight);
    m_certTableView->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_certTableView->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_certTableView->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    QPalette palette = m_certTableView->palette();
    palette.setColor(QPalette::Base, Qt::white);
    m_certTableView->setPalette(palette);
    // Fixed row heights: the view never measures rows it does not show.
    QHeaderView *rows = m_certTableView->verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    const int rowHeight = rowHeightFor(m_certTableView, SelectCertDlgModel::kRowHeight);
    rows->setMinimumSectionSize(rowHeight);
    rows->setDefaultSectionSize(rowHeight);
    QHeaderView *columns = m_certTableView->horizontalHeader();
    columns->setSectionResizeMode(QHeaderView::Interactive);
    columns->setStretchLastSection(false);
    columns->setHighlightSections(false);
    columns->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    for (std::size_t i = 0; i < kColumnLayouts.size(); ++i)
        m_certTableView->setColumnWidth(static_cast<int>(i), kColumnLayouts[i].width);
    mainStack->addWidget(m_certTableView, 1);
    // Arrows move the selection from the start.
    m_certTableView->setFocus();
    // Arrows move in the list, Tab leaves it; its name is the prompt.
    m_certTableView->setTabKeyNavigation(false);
    prompt->setBuddy(m_certTableView);
    m_certTableView->setAccessibleName(prompt->text());
    connect(m_certTableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] {
                const QModelIndexList selected = m_certTableView->selectionModel()->selectedRows();
                m_dlgModel.tableViewSelectionDidChange(selected.isEmpty() ? -1
                                                                          : selected.first().row());
            });
    connect(m_certTableView, &QAbstractItemView::doubleClicked, this, &SelectCertDlg::doubleClick);
    addContextMenu();

    auto *cancel = makeButton(this, QStringLiteral("取消"), QStringLiteral("cancelButton"));
    auto *ok = makeButton(this, QStringLiteral("确定"), QStringLiteral("okButton"));
    connect(ok, &QPushButton::clicked, this, &SelectCertDlg::okButtonClicked);
    connect(cancel, &QPushButton::clicked, this, &SelectCertDlg::cancelButtonClicked);
    auto *buttonRow = new QWidget(this);
    buttonRow->setObjectName(QStringLiteral("buttonRow"));
    buttonRow->setFixedWidth(200);
    auto *buttons = new QHBoxLayout(buttonRow);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(60);
    buttons->addWidget(cancel);
    buttons->addStretch();
    buttons->addWidget(ok);
    mainStack->addWidget(buttonRow, 0, Qt::AlignHCenter);
}

void SelectCertDlg::addContextMenu()
{
    pkiui::addContextMenu(m_certTableView,
                          {{"查看证书", "viewAction", [this](int) { doubleClick(); }},
                           {},
                           {"复制", "copyAction",
                            [this](int row) {
                                // The cells tab-separated, as spreadsheets paste them.
                                std::string cells;
                                for (const ColumnLayout &column : kColumnLayouts) {
                                    if (&column != &kColumnLayouts.front())
                                        cells += '\t';
                                    cells += m_dlgModel.cellText(row, column.identifier);
                                }
                                copyText(cells);
                            },
                            true, QKeySequence::Copy},
                           {"导出证书...", "exportAction", [this](int row) {
                                exportCertificate(window(), m_dlgModel.handleAtIndex(row));
                            }}});
}

void SelectCertDlg::setCertificateHandles(TAVIK_CERT_st **certs, int count)
{
    m_dlgModel.setCertificateHandles(certs, count);
    m_tableModel->reloadData();
}

void SelectCertDlg::okButtonClicked()
{
    m_selectedIndex = m_dlgModel.selectedRowIndex();
    if (m_owner)
        m_owner->hide();
    emit finished();
}

void SelectCertDlg::acceptFromKeyboard()
{
    // The current row is the one the keyboard is on, selected or not.
    const QModelIndex current = m_certTableView->currentIndex();
    if (current.isValid() && !m_certTableView->selectionModel()->isRowSelected(current.row()))
        m_certTableView->selectRow(current.row());
    okButtonClicked();
}

void SelectCertDlg::cancelButtonClicked()
{
    if (m_owner)
        m_owner->hide();
    emit finished();
}

// Shows the row's certificate in a viewer over this dialog, which keeps
// running; the selection for the result is left alone.
void SelectCertDlg::doubleClick()
{
    const QModelIndexList selected = m_certTableView->selectionModel()->selectedRows();
    const int row = selected.isEmpty() ? -1 : selected.first().row();
    TAVIK_CERT_st *cert = m_dlgModel.handleAtIndex(row);
    if (!cert)
        return;
    QWidget *parent = m_owner ? m_owner.data() : window();
    TavikPKIUIDisplayCert(parent, cert);
}

} // namespace pkiui
