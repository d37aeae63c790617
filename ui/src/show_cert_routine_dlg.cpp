#include "show_cert_routine_dlg.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <array>

namespace pkiui {

namespace {

struct Row {
    const char *caption; // empty for the title and the verdict
    const char *name;    // the value field's objectName
};

// Rows in the order stackViewFor numbers them.
constexpr std::array kRows{
    Row{"", "titleLabel"},
    Row{"", "certStatusLabel"},
    Row{"颁发给:", "subjectLabel"},
    Row{"颁发者:", "issuerLabel"},
    Row{"有效期从", "validityLabel"},
    Row{"证书类型:", "certTypeLabel"},
};

QLabel *textField(QWidget *parent, int pixelSize, bool bold)
{
    auto *field = new QLabel(parent);
    QFont font = field->font();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    field->setFont(font);
    field->setTextFormat(Qt::PlainText);
    field->setTextInteractionFlags(Qt::NoTextInteraction);
    return field;
}

} // namespace

ShowCertRoutineDlg::ShowCertRoutineDlg(QWidget *parent) : QWidget(parent)
{
    layoutSubViews();
}

ShowCertRoutineDlg::~ShowCertRoutineDlg() = default;

QWidget *ShowCertRoutineDlg::stackViewFor(int index, QLabel *&value)
{
    const Row &row = kRows[static_cast<std::size_t>(index)];
    auto *rowView = new QWidget(this);
    auto *rowStack = new QHBoxLayout(rowView);
    rowStack->setContentsMargins(0, 0, 0, 0);
    rowStack->setSpacing(8);
    auto *caption = textField(rowView, 14, true);
    auto *field = textField(rowView, index == 0 ? 18 : 14, index == 0);
    field->setObjectName(QString::fromLatin1(row.name));
    if (index == 0) {
        field->setText(QStringLiteral("证书信息"));
        delete caption;
        rowStack->addWidget(field);
        rowStack->addStretch(1);
        return rowView;
    }
    field->setWordWrap(true);
    value = field;
    if (index == 1) {
        delete caption;
        rowStack->addWidget(field, 1);
        return rowView;
    }
    caption->setText(QString::fromUtf8(row.caption));
    caption->setMinimumWidth(55);
    caption->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    rowStack->addWidget(caption, 0, Qt::AlignTop);
    rowStack->addWidget(field, 1, Qt::AlignTop);
    return rowView;
}

void ShowCertRoutineDlg::layoutSubViews()
{
    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(20, 0, 20, 0);
    stack->setSpacing(0);
    QLabel *unused = nullptr;
    QWidget *title = stackViewFor(0, unused);
    title->setFixedHeight(60);
    stack->addWidget(title);
    QWidget *verdict = stackViewFor(1, m_certStatusLabel);
    verdict->setFixedHeight(80);
    stack->addWidget(verdict);

    auto *inner = new QVBoxLayout;
    inner->setSpacing(8);
    for (auto [index, field] : {std::pair{2, &m_subjectLabel}, std::pair{3, &m_issuerLabel},
                                std::pair{4, &m_validityLabel}, std::pair{5, &m_certTypeLabel}})
        inner->addWidget(stackViewFor(index, *field));
    inner->addStretch(1);
    stack->addLayout(inner, 1);
}

int ShowCertRoutineDlg::setCertHandle(TAVIK_CERT_st *cert)
{
    if (!m_model)
        m_model = std::make_unique<ShowCertRoutineDlgModel>();
    const int result = m_model->setCertHandle(cert);
    const auto show = [](QLabel *label, const std::string &text) {
        label->setText(QString::fromStdString(text));
    };
    show(m_certStatusLabel, m_model->certStatusText());
    show(m_subjectLabel, m_model->subjectText());
    show(m_issuerLabel, m_model->issuerText());
    show(m_validityLabel, m_model->validityText());
    show(m_certTypeLabel, m_model->certTypeText());
    return result;
}

} // namespace pkiui
