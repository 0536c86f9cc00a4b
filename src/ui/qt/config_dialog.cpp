#include "ui/qt/config_dialog.h"
#include "ui/qt/qt_text.h"

#include "core/server_controller.h"
#include "ui/qt/painted_images.h"
#include "ui/qt/qbk_buttons.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace cvl {

const QStringList& regionEntries() {
    // Kept exactly as operators know them, irregularities included.
    static const QStringList entries{
        QStringLiteral("NA - North America [USA, Canada, Mexico]"),
        QStringLiteral("SA - South America [Chile , Brazil, Columbia]"),
        QStringLiteral("EU - Europe [UK, Spain, Italy, France]"),
        QStringLiteral("AF - Africa [Kenya, Egypt, South Africa]"),
        QStringLiteral("AW - West Asia [Afghanistan, Russia, Indonesia]"),
        QStringLiteral("AE - East Asia [Bangladesh, Thailand, India, China]"),
        QStringLiteral("AP - Asia Pacific [Australia, Japan, New Zealand]"),
    };
    return entries;
}

namespace {

QAbstractButton* makeButton(const QString& caption, const char* name, QWidget* parent) {
    auto* button = new QBKButtons(parent);
    button->setObjectName(QLatin1String(name));
    button->initProperties();
    button->setCaption(caption);
    // Framed at rest, so that they read as buttons before the pointer finds them.
    button->setButtonStyle(XpStyle);
    return button;
}

} // namespace

CVL_ConfigSVR::CVL_ConfigSVR(ServerController& server, QWidget* mainWindow)
    : QDialog(mainWindow)
    , server_(server)
    , regions_(new QComboBox(this))
    , runAtStart_(new QCheckBox(QStringLiteral("Run Chronvale Server when Windows Starts."), this))
    , openMinimized_(new QCheckBox(QStringLiteral("Open Minimized?"), this))
    , logging_(new QCheckBox(QStringLiteral("Enable Extended WC3 Logging."), this))
    , selTimeZone_(makeButton(QStringLiteral("Time Zone"), "SelTimeZone", this))
    , checkUpdate_(makeButton(QStringLiteral("Check for Software Updates"), "CheckUpdate", this))
    , ok_(makeButton(QStringLiteral("OK"), "cfgsvrOK", this)) {
    setObjectName(QStringLiteral("CVL_ConfigSVR"));
    setAttribute(Qt::WA_DeleteOnClose);
    regions_->setObjectName(QStringLiteral("Regions"));
    runAtStart_->setObjectName(QStringLiteral("RunCVL"));
    openMinimized_->setObjectName(QStringLiteral("OpenMin"));
    logging_->setObjectName(QStringLiteral("wc3Logs"));

    auto* image = new QLabel(this);
    image->setObjectName(QStringLiteral("Image1"));
    image->setPixmap(applicationIcon().pixmap(48, 48));
    auto* regionLabel =
        new QLabel(QStringLiteral("Select What Region this Server will Operate in"), this);
    regionLabel->setObjectName(QStringLiteral("RegionLbl"));
    auto* closeLabel = new QLabel(QStringLiteral("Select the closest region to you."), this);
    closeLabel->setObjectName(QStringLiteral("closelbl"));

    auto* frame1 = new QGroupBox(tr("Region"), this);
    frame1->setObjectName(QStringLiteral("Frame1"));
    auto* regionGrid = new QGridLayout(frame1);
    regionGrid->addWidget(image, 0, 0, 3, 1, Qt::AlignTop);
    regionGrid->addWidget(regionLabel, 0, 1);
    regionGrid->addWidget(regions_, 1, 1);
    regionGrid->addWidget(closeLabel, 2, 1);
    regionGrid->setColumnStretch(1, 1);

    auto* frame2 = new QGroupBox(tr("Options"), this);
    frame2->setObjectName(QStringLiteral("Frame2"));
    auto* options = new QVBoxLayout(frame2);
    options->addWidget(runAtStart_);
    options->addWidget(openMinimized_);
    options->addWidget(logging_);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(selTimeZone_);
    buttons->addWidget(checkUpdate_);
    buttons->addStretch();
    buttons->addWidget(ok_);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame1);
    layout->addWidget(frame2);
    layout->addLayout(buttons);

    // The dialog's own face: Arial for its words, whatever the desktop uses.
    QFont arial = font();
    arial.setFamily(QStringLiteral("Arial"));
    for (QWidget* widget :
         std::initializer_list<QWidget*>{regionLabel, closeLabel, runAtStart_, openMinimized_,
                                         logging_, selTimeZone_, checkUpdate_, ok_}) {
        widget->setFont(arial);
    }

    // activated, not currentIndexChanged: picking the same region again recomputes the choice.
    connect(regions_, &QComboBox::textActivated, this,
            [this](const QString& text) { server_.setRegionCode(text.left(2).toStdString()); });
    connect(openMinimized_, &QCheckBox::clicked, this,
            [this](bool on) { server_.setOpenMinimized(on); });
    connect(logging_, &QCheckBox::clicked, this, [this](bool on) { server_.setEnableLogging(on); });
    connect(runAtStart_, &QCheckBox::clicked, this,
            [this](bool on) { server_.setRunAtStartup(on); });
    connect(selTimeZone_, &QAbstractButton::clicked, this,
            [this] { server_.openDateTimeSettings(); });
    connect(checkUpdate_, &QAbstractButton::clicked, this, [this] { server_.checkForUpdates(); });
    connect(ok_, &QAbstractButton::clicked, this, &QDialog::close);
    server_.status().addObserver(*this);

    Form_Load(mainWindow);
}

CVL_ConfigSVR::~CVL_ConfigSVR() {
    server_.status().removeObserver(*this);
}

void CVL_ConfigSVR::statusChanged(StatusChange change) {
    if (change == StatusChange::UpdateButton) {
        checkUpdate_->setEnabled(server_.status().checkUpdateEnabled());
    }
}

void CVL_ConfigSVR::Form_Load(QWidget* mainWindow) {
    if (mainWindow != nullptr) {
        setWindowIcon(mainWindow->windowIcon());
    }
    setWindowTitle(QStringLiteral("CONFIG - ") + toQString(server_.status().caption()));
    regions_->addItems(regionEntries());
    // An unknown code leaves the list on its design text, which is none of the entries;
    // nothing is stored until a region is picked.
    regions_->setPlaceholderText(QStringLiteral("North America NA"));
    const ServerSettings settings = server_.settings();
    const QStringList codes{"NA", "SA", "EU", "AF", "AW", "AE", "AP"};
    regions_->setCurrentIndex(static_cast<int>(codes.indexOf(toQString(settings.sync.region))));
    // Loading only ever ticks boxes, and ticking stores the same value again.
    if (server_.runAtStartup()) {
        runAtStart_->setChecked(true);
    }
    if (settings.openMinimized) {
        openMinimized_->setChecked(true);
    }
    if (settings.enableLogging) {
        logging_->setChecked(true);
    }
    checkUpdate_->setEnabled(server_.status().checkUpdateEnabled());
}

} // namespace cvl
