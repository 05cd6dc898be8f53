// Shows the windows of the application in the language of the environment (LANGUAGE) and at its
// scale (QT_SCALE_FACTOR). A process each: the toolkit takes up both when it starts.

#include "AppDelegate.h"
#include "ClippedTexts.h"
#include "LocalizedText.h"
#include "PendingSignIn.h"
#include "Platform/Alert.h"
#include "Platform/Application.h"
#include "Platform/Bundle.h"
#include "Platform/Linux/ToolkitTranslation.h"
#include "Platform/OffscreenApplication.h"

#include <gmock/gmock.h>

#include <QComboBox>
#include <QFile>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <set>
#include <utility>
#include <vector>

using testing::IsEmpty;

namespace {

/// A small screen of today, less what the desktop takes of it.
constexpr QSize smallScreen(800, 700);

class LocalizedApplication : public OffscreenApplication {
public:
    void SetUp() override {
        OffscreenApplication::SetUp();
        platform::translateToolkit(*qApp);
    }
};

/// Owned by the test framework.
const testing::Environment* const application =
    testing::AddGlobalTestEnvironment(new LocalizedApplication);

QMessageBox* openAlert() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const alert = qobject_cast<QMessageBox*>(widget);
        if (alert != nullptr && alert->isVisible())
            return alert;
    }
    return nullptr;
}

QString languageOfTheEnvironment() {
    return qEnvironmentVariable("LANGUAGE");
}

/// Whether a cursive script joins the last letter of the one text to the first one of the other.
bool joins(QString text, QString next) {
    const auto isMark = [](QChar character) {
        return character.joiningType() == QChar::Joining_Transparent;
    };
    text.removeIf(isMark);
    next.removeIf(isMark);
    if (text.isEmpty() || next.isEmpty())
        return false;
    const QChar::JoiningType first = next.front().joiningType();
    return text.back().joiningType() == QChar::Joining_Dual &&
           (first == QChar::Joining_Dual || first == QChar::Joining_Right);
}

/// The application as it starts where no server answers.
class LanguageTest : public testing::Test {
protected:
    LanguageTest()
        : interface_(platform::loadMainInterface()),
          controller_(dynamic_cast<AppDelegate&>(interface_->delegate()).windowController()) {
        window().show();
        EXPECT_TRUE(runUntil([this] { return !controller_->working(); }));
        EXPECT_NE(openAlert(), nullptr);
    }

    QWidget& window() const { return *controller_->window(); }

    static void dismissAlert() {
        openAlert()->buttons().last()->click();
        EXPECT_TRUE(runUntil([] { return openAlert() == nullptr; }));
    }

    /// What is in the window, its alerts apart.
    template <typename Widget>
    QList<Widget*> parts() const {
        QList<Widget*> parts = window().findChildren<Widget*>();
        parts.removeIf([this](const Widget* part) { return part->window() != &window(); });
        return parts;
    }

    /// The texts of all that can be reached by a key of its own.
    QStringList textsWithKeys() const {
        QStringList texts;
        for (const QPushButton* const button : parts<QPushButton>())
            texts.append(button->text());
        for (const QLabel* const label : parts<QLabel>()) {
            if (label->buddy() != nullptr)
                texts.append(label->text());
        }
        return texts;
    }

    /// Shows all that the window may ever show, at once.
    void showEverything() const {
        for (QWidget* const part : parts<QWidget>())
            part->show();
        settle();
    }

    /// Waits until nothing moves any more and the window has the size that its contents call for.
    void settle() const {
        std::vector<QRect> before;
        EXPECT_TRUE(runUntil([&] {
            QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            std::vector<QRect> now = {window().geometry()};
            for (const QWidget* const part : parts<QWidget>())
                now.push_back(part->geometry());
            const bool moved = std::exchange(before, now) != now;
            return !moved && window().size() == window().sizeHint();
        }));
    }

    /// Shows one text after the other in the label.
    void expectWhole(const char* labelName, const QStringList& texts) const {
        auto* const label = window().findChild<QLabel*>(labelName);
        ASSERT_NE(label, nullptr) << labelName;
        for (const QString& text : texts) {
            label->setText(text);
            settle();
            EXPECT_THAT(clippedTexts(window()), IsEmpty());
        }
    }

    std::unique_ptr<platform::MainInterface> interface_;
    std::shared_ptr<VTRegistrationController> controller_;
};

TEST_F(LanguageTest, IsTheOneOfTheEnvironmentAtItsScale) {
    const auto language = platform::Bundle::mainBundle().preferredLocalization();
    EXPECT_EQ(QString::fromStdString(language.value_or("en")), languageOfTheEnvironment());
    EXPECT_EQ(window().windowTitle(), localized("Ardentra Registration"));
    EXPECT_EQ(window().layoutDirection(),
              languageOfTheEnvironment() == "ar" ? Qt::RightToLeft : Qt::LeftToRight);
    EXPECT_EQ(window().devicePixelRatio(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
}

TEST_F(LanguageTest, ShowsTheWindowWhole) {
    dismissAlert();
    settle();
    EXPECT_THAT(clippedTexts(window()), IsEmpty());
    EXPECT_EQ(controller_->googleButton()->width(), controller_->microsoftButton()->width());
}

TEST_F(LanguageTest, ShowsTheWindowWholeWithEveryPartOfIt) {
    dismissAlert();
    showEverything();
    expectWhole("statusLabel", QStringList({localized("Getting the list of servers…"),
                                            localized("Contacting the server…"),
                                            localized("Completing the registration…")}) +
                                   PendingSignIn::feedbackTexts());
    expectWhole(
        "handlerLabel",
        {localized("No application opens the links by which the web browser comes back here."),
         localized(
             "Another application opens the links by which the web browser comes back here.")});
    EXPECT_LE(window().width(), smallScreen.width());
    EXPECT_LE(window().height(), smallScreen.height());
}

TEST_F(LanguageTest, FindsATextThatIsCutOff) {
    dismissAlert();
    settle();
    auto* const button = window().findChild<QPushButton*>("cancelButton");
    button->setFixedWidth(button->width());
    button->setText(QString(100, 'W'));
    settle();
    EXPECT_THAT(clippedTexts(window()),
                testing::ElementsAre(testing::StartsWith("cancelButton \"WWW")));
}

TEST_F(LanguageTest, HasAKeyOfItsOwnForEachControl) {
    dismissAlert();
    std::set<QString> keys;
    for (const QString& text : textsWithKeys()) {
        const QKeySequence key = QKeySequence::mnemonic(text);
        EXPECT_FALSE(key.isEmpty()) << qPrintable(text);
        EXPECT_TRUE(keys.insert(key.toString()).second) << qPrintable(text);
    }
    EXPECT_FALSE(keys.empty());
}

TEST_F(LanguageTest, MarksNoLetterThatIsJoinedToAnother) {
    dismissAlert();
    // The toolkit draws the marked letter apart from the others of its word.
    for (const QString& text : textsWithKeys()) {
        const qsizetype mark = text.indexOf('&');
        ASSERT_GE(mark, 0) << qPrintable(text);
        EXPECT_FALSE(joins(text.left(mark), text.mid(mark + 1))) << qPrintable(text);
        EXPECT_FALSE(joins(text.mid(mark + 1, 1), text.mid(mark + 2))) << qPrintable(text);
    }
}

TEST_F(LanguageTest, ShowsTheAlertAboutAFailureWhole) {
    EXPECT_EQ(openAlert()->text(),
              localized("An error occurred while attempting to contact the server"));
    EXPECT_THAT(clippedTexts(*openAlert()), IsEmpty());
    dismissAlert();
}

TEST_F(LanguageTest, ShowsTheOtherAlertsWhole) {
    dismissAlert();
    const std::vector<std::vector<const char*>> alerts = {
        {"Registration is unavailable",
         "Registration could not be completed at this time, please try again.", "Cancel"},
        {"The registration process could not be completed",
         "The registration process has been completed or has timed out.", "Start again", "Quit"},
        {"The registration process completed successfully", "You can now submit your print jobs.",
         "OK"}};
    for (const std::vector<const char*>& texts : alerts) {
        platform::Alert alert;
        alert.setMessageText(localized(texts[0]).toStdString());
        alert.setInformativeText(localized(texts[1]).toStdString());
        for (std::size_t button = 2; button < texts.size(); ++button)
            alert.addButtonWithTitle(localized(texts[button]).toStdString());
        alert.beginSheetModalForWindow(&window(), nullptr);
        ASSERT_NE(openAlert(), nullptr);
        EXPECT_THAT(clippedTexts(*openAlert()), IsEmpty());
        dismissAlert();
    }
}

TEST_F(LanguageTest, IsTheOneOfTheToolkitsMenus) {
    dismissAlert();
    auto* const field = window().findChild<QLineEdit*>("customServerField");
    const std::unique_ptr<QMenu> menu(field->createStandardContextMenu());
    QStringList titles;
    for (const QAction* const action : menu->actions())
        titles.append(action->text().section('\t', 0, 0));
    EXPECT_EQ(titles.contains("Select All"), languageOfTheEnvironment() == "en")
        << qPrintable(titles.join(", "));
}

} // namespace
