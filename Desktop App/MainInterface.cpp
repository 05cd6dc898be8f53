#include "MainInterface.h"

#include "AppDelegate.h"
#include "Platform/Application.h"
#include "Platform/Bundle.h"
#include "ui_MainInterface.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QShortcut>
#include <utility>

namespace {

constexpr double headingScale = 1.5;
constexpr double footnoteScale = 0.85;
constexpr int contentWidthInCharacters = 66;
constexpr double providerHeightScale = 1.35;

QString localized(const QString& key) {
    // The empty text is no key: its translation is the catalogue's header.
    if (key.isEmpty())
        return key;
    return QString::fromStdString(
        platform::Bundle::mainBundle().localizedStringForKey(key.toStdString(), "", std::nullopt));
}

/// Looks up a text property of the widget, if it has it, in the user's language.
void localizeProperty(QWidget& widget, const char* name) {
    const QVariant text = widget.property(name);
    if (text.isValid())
        widget.setProperty(name, localized(text.toString()));
}

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
    ui_->setupUi(this);
    localizeTexts();
    showFootnotes(version, copyright);
    setSizes();
    connectOutlets();
    bindControls();
    showSelection();
    showWorking();
    ui_->serverPopUp->setFocus();
}

RegistrationWindow::~RegistrationWindow() = default;

void RegistrationWindow::localizeTexts() {
    QList<QWidget*> widgets = findChildren<QWidget*>();
    widgets.append(this);
    for (QWidget* const widget : widgets) {
        for (const char* const property :
             {"text", "windowTitle", "placeholderText", "accessibleName", "accessibleDescription"})
            localizeProperty(*widget, property);
    }
}

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
    ui_->explanationLabel->setFixedWidth(contentWidthInCharacters *
                                         fontMetrics().averageCharWidth());

    const QSize hint = ui_->googleButton->sizeHint().expandedTo(ui_->microsoftButton->sizeHint());
    for (QPushButton* const provider : {ui_->googleButton, ui_->microsoftButton})
        provider->setMinimumSize(hint.width(), qRound(hint.height() * providerHeightScale));

    // Nothing moves when the progress appears, whatever it says.
    QSizePolicy kept = ui_->progress->sizePolicy();
    kept.setRetainSizeWhenHidden(true);
    ui_->progress->setSizePolicy(kept);
    QSize largest;
    for (const Wait wait : {Wait::listing, Wait::login, Wait::completion}) {
        ui_->statusLabel->setText(textFor(wait));
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

    observe("isServerSelected", &RegistrationWindow::showSelection);
    observe("isCustom", &RegistrationWindow::showSelection);
    observe("customServerText", &RegistrationWindow::enableProviderButtons);
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
    enableProviderButtons();
}

void RegistrationWindow::showWorking() {
    if (controller_->working()) {
        ui_->statusLabel->setText(textFor(nextWait_));
        // Tells screen readers that the text is another one.
        ui_->statusLabel->setAccessibleName(ui_->statusLabel->text());
        // Work that neither the listing nor a button of this window began is a completion.
        nextWait_ = Wait::completion;
    }
    ui_->progress->setVisible(controller_->working());
    enableProviderButtons();
}

bool RegistrationWindow::canSignIn() const {
    if (controller_->working() || !controller_->isServerSelected())
        return false;
    return !controller_->isCustom() || !ui_->customServerField->text().trimmed().isEmpty();
}

void RegistrationWindow::enableProviderButtons() {
    const bool enabled = canSignIn();
    QWidget* const focused = focusWidget();
    // A disabled button hands the focus on to the next control, which would be "Cancel".
    if (!enabled && (focused == ui_->googleButton || focused == ui_->microsoftButton)) {
        focusToReturn_ = focused;
        ui_->serverPopUp->setFocus();
    }
    ui_->googleButton->setEnabled(enabled);
    ui_->microsoftButton->setEnabled(enabled);
    if (enabled && focusToReturn_ != nullptr) {
        if (focused == ui_->serverPopUp)
            focusToReturn_->setFocus();
        focusToReturn_ = nullptr;
    }
}

void RegistrationWindow::signIn(QPushButton* provider) {
    nextWait_ = Wait::login;
    controller_->ok(provider);
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
