#include "show_cert_detail_dlg.hpp"

#include <QAbstractTableModel>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTableView>
#include <QVBoxLayout>

#include <array>

#include "dialog_window.hpp"
#include "cert_actions.hpp"
#include "pkiui/cert_export.hpp"

namespace pkiui {

namespace {

struct Column {
    const char *title;
    int minWidth;
    int width;
    int maxWidth;
};

constexpr std::array kColumns{
    Column{"域", 60, 130, 150},
    Column{"值", 130, 140, 200},
};

// Pop-up entries; an entry's position is the model's filter index.
constexpr std::array kFilters{
    "<所有>", "只有版本 1 域", "只有扩展", "只有关键扩展", "只有TAVIK扩展", "只有属性",
};

constexpr int kRowHeight = 20;

} // namespace

// The list's view of the model: rows under the filter, name and value.
class DetailRowsAdapter final : public QAbstractTableModel {
  public:
    DetailRowsAdapter(const ShowCertDetailDlgModel &model, QObject *parent)
        : QAbstractTableModel(parent), m_model(model)
    {
    }

    void reload()
    {
        beginResetModel();
        endResetModel();
    }

    int rowCount(const QModelIndex &parent) const override
    {
        return parent.isValid() ? 0 : m_model.numberOfRows();
    }
    int columnCount(const QModelIndex &parent) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(kColumns.size());
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        const CertDetailInfoItem *item = m_model.rowAt(index.row());
        if (!item || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
            return {};
        return QString::fromStdString(index.column() == 0 ? item->name : item->value);
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
            section >= static_cast<int>(kColumns.size()))
            return {};
        return QString::fromUtf8(kColumns[static_cast<std::size_t>(section)].title);
    }

  private:
    const ShowCertDetailDlgModel &m_model;
};

ShowCertDetailDlg::ShowCertDetailDlg(QWidget *parent) : QWidget(parent)
{
    layoutSubView();
}

ShowCertDetailDlg::~ShowCertDetailDlg()
{
    // The adapter reads the model until it goes with the table.
    delete m_certTableView;
}

ShowCertDetailDlgModel &ShowCertDetailDlg::model()
{
    if (!m_model) {
        m_model = std::make_unique<ShowCertDetailDlgModel>();
        m_model->showContent = [tab = QPointer(this)](const std::string &content) {
            if (tab)
                tab->detailValue()->setPlainText(QString::fromStdString(content));
        };
    }
    return *m_model;
}

QPlainTextEdit *ShowCertDetailDlg::detailValue()
{
    if (!m_detailValue) {
        m_detailValue = new QPlainTextEdit(this);
        m_detailValue->setObjectName(QStringLiteral("detailValue"));
        m_detailValue->setReadOnly(true);
        // Named after the column whose full text it shows.
        m_detailValue->setAccessibleName(QStringLiteral("值"));
        m_detailValue->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    }
    return m_detailValue;
}

void ShowCertDetailDlg::layoutSubView()
{
    auto *mainStack = new QVBoxLayout(this);
    mainStack->setContentsMargins(16, 16, 16, 16);

    auto *filterRow = new QWidget(this);
    auto *filterLayout = new QHBoxLayout(filterRow);
    filterLayout->setContentsMargins(0, 0, 0, 0);
    auto *caption = new QLabel(QStringLiteral("显示:"), filterRow);
    caption->setFixedWidth(fitting(caption, {40, 0}).width());
    m_filterPopUp = new QComboBox(filterRow);
    m_filterPopUp->setObjectName(QStringLiteral("filterPopUp"));
    for (const char *title : kFilters)
        m_filterPopUp->addItem(QString::fromUtf8(title));
    filterLayout->addWidget(caption);
    filterLayout->addWidget(m_filterPopUp, 1);
    caption->setBuddy(m_filterPopUp);
    filterRow->setFixedSize(fitting(filterRow, {300, 30}));
    auto *filterLine = new QHBoxLayout;
    filterLine->addSpacing(20);
    filterLine->addWidget(filterRow);
    filterLine->addStretch(1);
    mainStack->addLayout(filterLine);
    // activated, not currentIndexChanged: choosing the entry already shown
    // still reloads and clears.
    connect(m_filterPopUp, &QComboBox::activated, this, &ShowCertDetailDlg::handlePopUpBtn);

    m_certTableView = new QTableView(this);
    m_certTableView->setObjectName(QStringLiteral("certTableView"));
    m_rows = new DetailRowsAdapter(model(), m_certTableView);
    m_certTableView->setModel(m_rows);
    m_certTableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_certTableView->setSelectionMode(QAbstractItemView::SingleSelection);
    m_certTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Tab reaches the list and leaves it; arrows move in it.
    m_certTableView->setFocusPolicy(Qt::StrongFocus);
    m_certTableView->setTabKeyNavigation(false);
    m_certTableView->setAccessibleName(QStringLiteral("详细信息"));
    m_certTableView->setShowGrid(false);
    m_certTableView->setWordWrap(false);
    m_certTableView->setTextElideMode(Qt::ElideRight);
    m_certTableView->verticalHeader()->hide();
    const int rowHeight = rowHeightFor(m_certTableView, kRowHeight);
    m_certTableView->verticalHeader()->setMinimumSectionSize(rowHeight);
    m_certTableView->verticalHeader()->setDefaultSectionSize(rowHeight);
    m_certTableView->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView *header = m_certTableView->horizontalHeader();
    header->setStretchLastSection(false);
    header->setMinimumSectionSize(kColumns[0].minWidth);
    for (std::size_t i = 0; i < kColumns.size(); ++i)
        header->resizeSection(static_cast<int>(i), kColumns[i].width);
    connect(header, &QHeaderView::sectionResized, this,
            [this](int column, int, int width) { clampColumn(column, width); });
    addContextMenu();
    m_certTableView->setFixedHeight(150);
    mainStack->addWidget(m_certTableView);
    connect(m_certTableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] {
                const QModelIndexList rows = m_certTableView->selectionModel()->selectedRows();
                model().selectionDidChange(rows.isEmpty() ? -1 : rows.first().row());
            });

    detailValue()->setMinimumHeight(60);
    detailValue()->setMaximumHeight(125);
    mainStack->addWidget(detailValue(), 1);
}

void ShowCertDetailDlg::addContextMenu()
{
    pkiui::addContextMenu(
        m_certTableView,
        {{"复制", "copyAction",
          [this](int row) {
              if (const CertDetailInfoItem *item = model().rowAt(row))
                  copyText(item->content);
          },
          true, QKeySequence::Copy},
         {"复制全部", "copyAllAction", [this](int) { copyText(shownRowsText(model())); }, false},
         {},
         {"导出证书...", "exportAction", [this](int) { exportCertificate(window(), m_cert.get()); },
          false},
         {"核对指纹...", "fingerprintAction",
          [this](int) { openFingerprintCheck(window(), m_cert.get()); }, false}});
}

void ShowCertDetailDlg::clampColumn(int column, int width)
{
    if (column < 0 || column >= static_cast<int>(kColumns.size()))
        return;
    const Column &limits = kColumns[static_cast<std::size_t>(column)];
    const int clamped = std::clamp(width, limits.minWidth, limits.maxWidth);
    if (clamped != width)
        m_certTableView->horizontalHeader()->resizeSection(column, clamped);
}

int ShowCertDetailDlg::setCertHandle(TAVIK_CERT_st *cert)
{
    const bool read = model().setCertHandle(cert);
    m_cert.reset(cert ? TavikPKICertDupCert(cert) : nullptr);
    m_rows->reload();
    return read ? 1 : 0;
}

void ShowCertDetailDlg::handlePopUpBtn(int index)
{
    model().switchToIndex(index);
    m_rows->reload();
    detailValue()->setPlainText(QString());
}

} // namespace pkiui
