#include "show_cert_path_dlg.hpp"

#include <QAbstractListModel>
#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>
#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "cert_actions.hpp"
#include "pkiui/cert_export.hpp"
#include "dialog_window.hpp"

namespace pkiui {

// The list's view of the path model. The model learns that a row is shown
// the first time its text is asked for, as it would when a cell is made.
class PathRowsAdapter final : public QAbstractListModel {
  public:
    PathRowsAdapter(ShowCertPathDlgModel &model, QTableView *table)
        : QAbstractListModel(table), m_model(model), m_table(table)
    {
    }

    // Reloads, then shows the last row at once, so that the viewed
    // certificate is selected before the first paint.
    void reload()
    {
        beginResetModel();
        m_shown.assign(static_cast<std::size_t>(m_model.numberOfRows()), false);
        endResetModel();
        if (!m_shown.empty())
            rowShown(static_cast<int>(m_shown.size()) - 1, false);
    }

    int rowCount(const QModelIndex &parent) const override
    {
        return parent.isValid() ? 0 : m_model.numberOfRows();
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (index.row() < 0 || index.row() >= static_cast<int>(m_shown.size()))
            return {};
        if (role == Qt::ToolTipRole)
            return QString::fromStdString(
                m_model.certPaths()[static_cast<std::size_t>(index.row())].reason);
        if (role != Qt::DisplayRole)
            return {};
        if (!m_shown[static_cast<std::size_t>(index.row())])
            rowShown(index.row(), true);
        return QString::fromStdString(m_model.cellText(index.row()));
    }

  private:
    // While painting, a selection change waits for the event loop.
    void rowShown(int row, bool painting) const
    {
        m_shown[static_cast<std::size_t>(row)] = true;
        m_model.viewForRow(row, [this, painting](int selected) {
            const auto select = [table = QPointer(m_table), selected] {
                if (table)
                    table->selectRow(selected);
            };
            if (painting)
                QTimer::singleShot(0, m_table, select);
            else
                select();
        });
    }

    ShowCertPathDlgModel &m_model;
    QTableView *m_table;
    mutable std::vector<bool> m_shown; // rows the model has been told of
};

namespace {

constexpr int kTabWidth = 28;

// Draws a row's leading tabs as indentation of kTabWidth pixels each and
// elides the rest at the tail.
class IndentedRowDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        QStyleOptionViewItem item = option;
        initStyleOption(&item, index);
        const QString text = std::exchange(item.text, QString());
        QStyle *style = item.widget ? item.widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);
        qsizetype tabs = 0;
        while (tabs < text.size() && text[tabs] == QLatin1Char('\t'))
            ++tabs;
        QRect area = style->subElementRect(QStyle::SE_ItemViewItemText, &item, item.widget);
        area.setLeft(area.left() + static_cast<int>(tabs) * kTabWidth);
        const bool selected = item.state.testFlag(QStyle::State_Selected);
        painter->setPen(item.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
        painter->drawText(
            area, Qt::AlignLeft | Qt::AlignVCenter,
            item.fontMetrics.elidedText(text.mid(tabs), Qt::ElideRight, area.width()));
    }
};

QLabel *caption(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return label;
}

} // namespace

ShowCertPathDlg::ShowCertPathDlg(QWidget *parent) : QWidget(parent)
{
    layoutSubView();
}

ShowCertPathDlg::~ShowCertPathDlg()
{
    // The adapter reads the model until it goes with the table.
    delete m_certTableView;
}

ShowCertPathDlgModel &ShowCertPathDlg::model()
{
    if (!m_model) {
        m_model = std::make_unique<ShowCertPathDlgModel>();
        m_model->showContentWhenUserSelect = [tab = QPointer(this)](TAVIK_CERT_st *cert,
                                                                    const std::string &status) {
            if (tab)
                tab->showSelection(cert, status);
        };
    }
    return *m_model;
}

void ShowCertPathDlg::layoutSubView()
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);

    auto *pathSection = new QVBoxLayout;
    QLabel *pathCaption = caption(QStringLiteral("证书路径(P)"), this);
    pathSection->addWidget(pathCaption);
    m_certTableView = new QTableView(this);
    m_certTableView->setObjectName(QStringLiteral("certTableView"));
    m_rows = new PathRowsAdapter(model(), m_certTableView);
    m_certTableView->setModel(m_rows);
    m_certTableView->setItemDelegate(new IndentedRowDelegate(m_certTableView));
    m_certTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_certTableView->setSelectionMode(QAbstractItemView::SingleSelection);
    m_certTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Tab reaches the list and leaves it; arrows move in it.
    m_certTableView->setFocusPolicy(Qt::StrongFocus);
    m_certTableView->setTabKeyNavigation(false);
    pathCaption->setBuddy(m_certTableView);
    m_certTableView->setAccessibleName(pathCaption->text());
    m_certTableView->setShowGrid(false);
    m_certTableView->setWordWrap(false);
    m_certTableView->setTextElideMode(Qt::ElideRight);
    m_certTableView->horizontalHeader()->hide();
    m_certTableView->horizontalHeader()->setStretchLastSection(true);
    m_certTableView->verticalHeader()->hide();
    const int rowHeight = rowHeightFor(m_certTableView, ShowCertPathDlgModel::kRowHeight);
    m_certTableView->verticalHeader()->setMinimumSectionSize(rowHeight);
    m_certTableView->verticalHeader()->setDefaultSectionSize(rowHeight);
    m_certTableView->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    addContextMenu();
    pathSection->addWidget(m_certTableView, 1);
    connect(m_certTableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] {
                const QModelIndexList rows = m_certTableView->selectionModel()->selectedRows();
                model().selectionDidChange(rows.isEmpty() ? -1 : rows.first().row());
            });

    m_lookUpButton = makeButton(this, QStringLiteral("查看证书"), QStringLiteral("lookUpButton"));
    m_lookUpButton->setFixedWidth(fitting(m_lookUpButton, {100, 0}).width());
    m_lookUpButton->setEnabled(false);
    connect(m_lookUpButton, &QPushButton::clicked, this, &ShowCertPathDlg::lookupButtonClicked);
    auto *buttonRow = new QHBoxLayout;
    buttonRow->addStretch(1);
    buttonRow->addWidget(m_lookUpButton);
    buttonRow->addSpacing(20);
    pathSection->addLayout(buttonRow);
    auto *pathBox = new QWidget(this);
    pathBox->setLayout(pathSection);
    pathSection->setContentsMargins(0, 0, 0, 0);
    pathBox->setFixedHeight(200);
    mainStack->addWidget(pathBox);

    auto *statusSection = new QVBoxLayout;
    statusSection->setContentsMargins(0, 0, 0, 0);
    QLabel *statusCaption = caption(QStringLiteral("证书状态(S)"), this);
    statusSection->addWidget(statusCaption);
    statusSection->addStretch(1);
    m_certStatusTextField = new QLineEdit(QStringLiteral("该证书没有问题"), this);
    m_certStatusTextField->setObjectName(QStringLiteral("certStatusTextField"));
    m_certStatusTextField->setReadOnly(true);
    statusCaption->setBuddy(m_certStatusTextField);
    statusSection->addWidget(m_certStatusTextField);
    auto *statusBox = new QWidget(this);
    statusBox->setLayout(statusSection);
    // 120 high where the tab has room; the list keeps its 200 first.
    statusBox->setMaximumHeight(120);
    mainStack->addWidget(statusBox, 1);
}

void ShowCertPathDlg::addContextMenu()
{
    const auto certAt = [this](int row) {
        const auto &rows = model().certPaths();
        return row >= 0 && row < static_cast<int>(rows.size())
                   ? rows[static_cast<std::size_t>(row)].cert
                   : nullptr;
    };
    pkiui::addContextMenu(
        m_certTableView,
        {{"复制", "copyAction", [certAt](int row) { copyText(subjectLine(certAt(row))); }, true,
          QKeySequence::Copy},
         {},
         {"导出证书...", "exportAction",
          [this, certAt](int row) { exportCertificate(window(), certAt(row)); }},
         // Leaf first, root last: the order TLS and most tools write chains in.
         {"导出证书链...", "exportChainAction",
          [this](int) {
              std::vector<TAVIK_CERT_st *> chain;
              for (const CertInfoModel &row : model().certPaths())
                  chain.insert(chain.begin(), row.cert);
              exportChain(window(), chain);
          },
          false}});
}

int ShowCertPathDlg::setCertHandle(TAVIK_CERT_st *cert)
{
    const int result = model().setCertHandle(cert);
    m_rows->reload();
    return result;
}

void ShowCertPathDlg::showSelection(TAVIK_CERT_st *cert, const std::string &status)
{
    m_selectedCert = cert;
    m_lookUpButton->setEnabled(cert != nullptr);
    m_certStatusTextField->setText(QString::fromStdString(status));
    m_certStatusTextField->setToolTip(QString::fromStdString(model().reasonOf(cert)));
}

void ShowCertPathDlg::lookupButtonClicked()
{
    // Over the viewer's window: the nested viewer returns at once and its OK
    // only hides it. It duplicates the certificate for itself.
    TavikPKIUIDisplayCert(m_owner.data(), m_selectedCert);
}

} // namespace pkiui
