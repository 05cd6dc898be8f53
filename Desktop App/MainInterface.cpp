#include "MainInterface.h"

#include "AppDelegate.h"
#include "LocalizedText.h"
#include "Platform/Application.h"
#include "Platform/WindowOrdering.h"
#include "ui_MainInterface.h"

#include <QAccessibleWidget>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QShortcut>
#include <QTimer>
#include <utility>

namespace {

constexpr double headingScale = 1.5;
constexpr double footnoteScale = 0.85;
constexpr int contentWidthInCharacters = 66;
constexpr double providerHeightScale = 1.35;

QFont scaled(QFont font, double factor) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(static_cast<int>(font.pixelSize() * factor));
    return font;
}

void showIfPresent(QLabel& label, const QString& text) {
    label.setText(text);
    label.setVisible(!text.isEmpty());
}

void keepSizeWhenHidden(QWidget& widget) {
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(policy);
}

/// To assistive tools the widget is a window, and not just something that holds others.
QAccessibleInterface* accessibleWindow(const QString&, QObject* object) {
    auto* const window = dynamic_cast<RegistrationWindow*>(object);
    return window == nullptr ? nullptr : new QAccessibleWidget(window, QAccessible::Window);
}

} // namespace

QString RegistrationWindow::textFor(Wait wait) {
    switch (wait) {
    case Wait::listing:
        return localized("Getting the list of servers…");
    case Wait::login:
        return localized("Contacting the server…");
    case Wait::completion:
        return localized("Completing the registration…");
    }
    return {};
}

RegistrationWindow::RegistrationWindow(std::shared_ptr<VTRegistrationController> controller,
                                       const std::optional<std::string>& version,
                                       const std::optional<std::string>& copyright)
    : ui_(std::make_unique<Ui::RegistrationWindow>()), controller_(std::move(controller)) {
    QAccessible::installFactory(accessibleWindow);
    ui_->setupUi(this);
    localizeTexts(*this);
    showFootnotes(version, copyright);
    setSizes();
    connectOutlets();
    bindControls();
    showSelection();
    showWorking();
    ui_->serverPopUp->setFocus();
}

RegistrationWindow::~RegistrationWindow() = default;

void RegistrationWindow::showFootnotes(const std::optional<std::string>& version,
                                       const std::optional<std::string>& copyright) {
    const QString number = QString::fromStdString(version.value_or(""));
    showIfPresent(*ui_->versionLabel,
                  number.isEmpty() ? number : localized("Version %@").replace("%@", number));
    showIfPresent(*ui_->copyrightLabel, QString::fromStdString(copyright.value_or("")));
}

void RegistrationWindow::setSizes() {
    QFont headingFont = scaled(font(), headingScale);
    headingFont.setBold(true);
    ui_->headingLabel->setFont(headingFont);
    ui_->versionLabel->setFont(scaled(font(), footnoteScale));
    ui_->copyrightLabel->setFont(scaled(font(), footnoteScale));
    const int textWidth = contentWidthInCharacters * fontMetrics().averageCharWidth();
    ui_->explanationLabel->setFixedWidth(textWidth);
    ui_->pendingSignIn->setTextWidth(textWidth);

    const QSize hint = ui_->googleButton->sizeHint().expandedTo(ui_->microsoftButton->sizeHint());
    for (QPushButton* const provider : {ui_->googleButton, ui_->microsoftButton})
        provider->setMinimumSize(hint.width(), qRound(hint.height() * providerHeightScale));

    // Nothing moves when the progress appears, whatever it says.
    keepSizeWhenHidden(*ui_->progress);
    keepSizeWhenHidden(*ui_->progressBar);
    QStringList texts = PendingSignIn::feedbackTexts();
    for (const Wait wait : {Wait::listing, Wait::login, Wait::completion})
        texts.append(textFor(wait));
    QSize largest;
    for (const QString& text : texts) {
        ui_->statusLabel->setText(text);
        largest = largest.expandedTo(ui_->statusLabel->sizeHint());
    }
    ui_->statusLabel->setMinimumSize(largest);
}

void RegistrationWindow::connectOutlets() {
    controller_->setWindow(this);
    controller_->setServerPopUp(ui_->serverPopUp);
    controller_->setGoogleButton(ui_->googleButton);
    controller_->setMicrosoftButton(ui_->microsoftButton);
}

void RegistrationWindow::bindControls() {
    connect(ui_->serverPopUp, &QComboBox::activated, this,
            [this](int index) { controller_->setSelectedServerIndex(index); });
    connect(ui_->customServerField, &QLineEdit::textChanged, this,
            [this](const QString& text) { controller_->setCustomServerText(text.toStdString()); });
    for (QPushButton* const provider : {ui_->googleButton, ui_->microsoftButton})
        connect(provider, &QPushButton::clicked, this, [this, provider] { signIn(provider); });
    connect(ui_->cancelButton, &QPushButton::clicked, this,
            [this] { controller_->cancel(ui_->cancelButton); });
    const auto* const escape = new QShortcut(QKeySequence(QKeySequence::Cancel), this);
    connect(escape, &QShortcut::activated, this, [this] { controller_->cancel(this); });

    lookForPendingSignIn_.setSingleShot(true);
    connect(&lookForPendingSignIn_, &QTimer::timeout, this, [this] {
        if (isVisible() && !controller_->working())
            ui_->pendingSignIn->refresh();
    });
    connect(ui_->pendingSignIn, &PendingSignIn::feedback, this, &RegistrationWindow::showStatus);

    observe("isServerSelected", &RegistrationWindow::showSelection);
    observe("isCustom", &RegistrationWindow::showSelection);
    observe("customServerText", &RegistrationWindow::enableControls);
    observe("working", &RegistrationWindow::showWorking);
}

void RegistrationWindow::observe(const std::string& key, void (RegistrationWindow::*respond)()) {
    // The controller may live on when the window is gone.
    controller_->addObserver(
        [window = QPointer(this), respond] {
            if (window != nullptr)
                (window->*respond)();
        },
        key);
}

void RegistrationWindow::showSelection() {
    ui_->customServer->setVisible(controller_->isCustom());
    enableControls();
}

void RegistrationWindow::showWorking() {
    const bool working = controller_->working();
    if (working) {
        showStatus(textFor(nextWait_));
        // Work that neither the listing nor a button of this window began is a completion.
        nextWait_ = Wait::completion;
    }
    ui_->progressBar->setVisible(working);
    ui_->progress->setVisible(working);
    enableControls();
    lookForPendingSignIn();
}

void RegistrationWindow::showStatus(const QString& text) {
    ui_->statusLabel->setText(text);
    // Tells screen readers that the text is another one.
    ui_->statusLabel->setAccessibleName(text);
    ui_->progress->setVisible(true);
}

void RegistrationWindow::lookForPendingSignIn() {
    // Later, so that whatever goes on is done with and the window shows its face first, and once,
    // however often it is asked for meanwhile: it takes time.
    lookForPendingSignIn_.start();
}

bool RegistrationWindow::canSignIn() const {
    if (controller_->working() || !controller_->isServerSelected())
        return false;
    return !controller_->isCustom() || !ui_->customServerField->text().trimmed().isEmpty();
}

void RegistrationWindow::enableControls() {
    const std::initializer_list<std::pair<QWidget*, bool>> controls = {
        {ui_->googleButton, canSignIn()},
        {ui_->microsoftButton, canSignIn()},
        {ui_->pendingSignIn, !controller_->working()}};
    QWidget* const focused = focusWidget();
    for (const auto& [control, enabled] : controls) {
        // A disabled control hands the focus on to the next one, which might be "Cancel".
        const bool hasFocus = control == focused || control->isAncestorOf(focused);
        if (!enabled && hasFocus) {
            focusToReturn_ = focused;
            ui_->serverPopUp->setFocus();
        }
        control->setEnabled(enabled);
    }
    if (focusToReturn_ != nullptr && focusToReturn_->isEnabled()) {
        if (focused == ui_->serverPopUp && focusToReturn_->isVisible())
            focusToReturn_->setFocus();
        focusToReturn_ = nullptr;
    }
}

void RegistrationWindow::signIn(QPushButton* provider) {
    nextWait_ = Wait::login;
    controller_->ok(provider);
}

void RegistrationWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous())
        awaitsPaint_ = true;
}

void RegistrationWindow::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    if (std::exchange(awaitsPaint_, false))
        lookForPendingSignIn();
}

void RegistrationWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const bool grows = event->size().height() > event->oldSize().height();
    if (isVisible() && grows)
        platform::constrainFrameToScreen(this);
}

void RegistrationWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    controller_->cancel(this);
}

namespace {

/// What the interface file makes. The window goes first, the controller when its last request that
/// needs it has been answered.
class RegistrationInterface : public platform::MainInterface {
public:
    RegistrationInterface() {
        delegate_.setWindowController(controller_);
        controller_->awakeFromNib();
    }

    platform::ApplicationDelegate& delegate() override { return delegate_; }

private:
    std::shared_ptr<VTRegistrationController> controller_ =
        std::make_shared<VTRegistrationController>();
    AppDelegate delegate_;
    RegistrationWindow window_{controller_, delegate_.versionString(), delegate_.copyrightString()};
};

} // namespace

std::unique_ptr<platform::MainInterface> platform::loadMainInterface() {
    // The well-known key by which a translation says in which direction its language runs.
    if (localized("QT_LAYOUT_DIRECTION") == "RTL")
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    return std::make_unique<RegistrationInterface>();
}
