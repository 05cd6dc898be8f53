#include "Platform/Alert.h"

#include "OffscreenApplication.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Owned by the test framework.
const testing::Environment* const application =
    testing::AddGlobalTestEnvironment(new OffscreenApplication);

QMessageBox* openAlert() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const alert = qobject_cast<QMessageBox*>(widget);
        if (alert != nullptr && alert->isVisible())
            return alert;
    }
    return nullptr;
}

std::vector<std::string> buttonsOf(const QMessageBox& alert) {
    std::vector<std::string> titles;
    for (const QAbstractButton* const button : alert.buttons())
        titles.push_back(button->text().toStdString());
    return titles;
}

void press(QMessageBox& alert, int key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(&alert, &event);
}

Alert alertWithButtons(const std::vector<std::string>& titles) {
    Alert alert;
    alert.setMessageText("A message");
    for (const std::string& title : titles)
        alert.addButtonWithTitle(title);
    return alert;
}

/// Runs the alert modally and does this once it is shown.
ModalResponse runModal(const Alert& alert, const std::function<void(QMessageBox&)>& once) {
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        if (openAlert() != nullptr) {
            poll.stop();
            once(*openAlert());
        }
    });
    poll.start(1);
    return alert.runModal();
}

class SheetTest : public testing::Test {
protected:
    SheetTest() { window_->show(); }

    void begin(const Alert& alert) {
        alert.beginSheetModalForWindow(
            window_.get(), [this](ModalResponse response) { responses_.push_back(response); });
    }

    static bool dismiss(qsizetype button) {
        const QPointer<QMessageBox> sheet = openAlert();
        sheet->buttons().at(button)->click();
        return runUntil([&sheet] { return sheet.isNull(); });
    }

    std::unique_ptr<QWidget> window_ = std::make_unique<QWidget>();
    std::vector<ModalResponse> responses_;
};

} // namespace

TEST(Alert, AnswersWithTheNumberOfTheButtonPressed) {
    const Alert alert = alertWithButtons({"One", "Two", "Three"});
    for (int button = 0; button < 3; ++button)
        EXPECT_EQ(runModal(alert, [=](auto& box) { box.buttons().at(button)->click(); }),
                  AlertFirstButtonReturn + button);
    EXPECT_EQ(AlertSecondButtonReturn, 1001);
}

TEST(Alert, ShowsTheButtonsInTheOrderInWhichTheyWereAdded) {
    std::vector<int> positions;
    runModal(alertWithButtons({"One", "Two", "Three"}), [&](QMessageBox& box) {
        EXPECT_THAT(buttonsOf(box), ElementsAre("One", "Two", "Three"));
        for (const QAbstractButton* const button : box.buttons())
            positions.push_back(button->x());
        box.buttons().constFirst()->click();
    });
    EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
    EXPECT_LT(positions.front(), positions.back());
}

TEST(Alert, TakesTheFirstButtonForReturnAndTheLastForEscape) {
    const Alert alert = alertWithButtons({"One", "Two"});
    EXPECT_EQ(runModal(alert,
                       [](QMessageBox& box) {
                           EXPECT_EQ(box.defaultButton()->text(), "One");
                           press(box, Qt::Key_Return);
                       }),
              AlertFirstButtonReturn);
    EXPECT_EQ(runModal(alert, [](QMessageBox& box) { press(box, Qt::Key_Escape); }),
              AlertSecondButtonReturn);
    EXPECT_EQ(runModal(alert, [](QMessageBox& box) { box.close(); }), AlertSecondButtonReturn);
}

TEST(Alert, EndsWithTheLastButtonsResponseWhenTheApplicationEnds) {
    const Alert alert = alertWithButtons({"One", "Two"});
    ModalResponse response = 0;
    QTimer::singleShot(0, qApp, [&] {
        response = runModal(alert, [](QMessageBox&) { QCoreApplication::exit(3); });
    });
    EXPECT_EQ(QCoreApplication::exec(), 3);
    EXPECT_EQ(response, AlertSecondButtonReturn);
}

TEST(Alert, ShowsTextsAsTheyAre) {
    Alert alert = alertWithButtons({"Save & <b>quit</b>"});
    alert.setMessageText("<b>Bold</b> & \"quoted\"");
    alert.setInformativeText("<img src='https://elsewhere.example/'>");
    runModal(alert, [](QMessageBox& box) {
        EXPECT_EQ(box.text(), "<b>Bold</b> & \"quoted\"");
        EXPECT_EQ(box.informativeText(), "<img src='https://elsewhere.example/'>");
        for (const QLabel* const label : box.findChildren<QLabel*>())
            EXPECT_EQ(label->textFormat(), Qt::PlainText);
        EXPECT_THAT(buttonsOf(box), ElementsAre("Save && <b>quit</b>"));
        box.buttons().constFirst()->click();
    });
}

TEST(Alert, CutsTextsThatWouldPushTheButtonsOffTheScreen) {
    Alert alert = alertWithButtons({"OK"});
    alert.setMessageText(std::string(100'000, 'x'));
    std::string lines;
    for (int line = 1; line <= 5000; ++line)
        lines += std::to_string(line) + "\n";
    alert.setInformativeText(lines);
    runModal(alert, [](QMessageBox& box) {
        EXPECT_EQ(box.text(), QString(1000, 'x') + "…");
        EXPECT_TRUE(box.informativeText().endsWith("\n20…"));
        box.buttons().constFirst()->click();
    });
    alert.setMessageText(std::string(1000, 'x'));
    alert.setInformativeText("1\n2");
    runModal(alert, [](QMessageBox& box) {
        EXPECT_EQ(box.text(), QString(1000, 'x'));
        EXPECT_EQ(box.informativeText(), "1\n2");
        box.buttons().constFirst()->click();
    });
}

TEST(Alert, SurvivesTextThatIsNotUTF8) {
    Alert alert = alertWithButtons({"OK"});
    alert.setMessageText("\xff\xfe");
    EXPECT_EQ(runModal(alert, [](QMessageBox& box) { box.buttons().constFirst()->click(); }),
              AlertFirstButtonReturn);
}

TEST(Alert, ShowsItsStyleAndTheNameOfTheApplication) {
    const std::vector<std::pair<AlertStyle, QMessageBox::Icon>> styles = {
        {AlertStyle::Warning, QMessageBox::Warning},
        {AlertStyle::Informational, QMessageBox::Information},
        {AlertStyle::Critical, QMessageBox::Critical}};
    for (const auto& [style, icon] : styles) {
        Alert alert = alertWithButtons({"OK"});
        alert.setAlertStyle(style);
        runModal(alert, [expected = icon](QMessageBox& box) {
            EXPECT_EQ(box.icon(), expected);
            EXPECT_EQ(box.windowTitle(), "Ardentra Registration");
            box.buttons().constFirst()->click();
        });
    }
}

TEST(Alert, TellsItsTextsToAssistiveTechnology) {
    Alert alert = alertWithButtons({"OK"});
    alert.setInformativeText("More about it");
    runModal(alert, [](QMessageBox& box) {
        QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&box);
        EXPECT_EQ(accessible->text(QAccessible::Name), "A message");
        EXPECT_EQ(accessible->text(QAccessible::Description), "More about it");
        box.buttons().constFirst()->click();
    });
}

TEST(Alert, SaysForAnErrorWhatItsDescriptionSays) {
    const Error underlying("below", 2, "Hidden");
    runModal(Alert::alertWithError(Error("domain", 1, "What went wrong", underlying)),
             [](QMessageBox& box) {
                 EXPECT_EQ(box.text(), "What went wrong");
                 EXPECT_EQ(box.informativeText(), "");
                 EXPECT_THAT(buttonsOf(box), ElementsAre("OK"));
                 box.buttons().constFirst()->click();
             });
}

TEST_F(SheetTest, AnswersOnceWhenTheSheetIsDismissed) {
    begin(alertWithButtons({"One", "Two"}));
    ASSERT_NE(openAlert(), nullptr);
    EXPECT_EQ(openAlert()->parentWidget(), window_.get());
    EXPECT_EQ(openAlert()->windowModality(), Qt::WindowModal);
    EXPECT_THAT(responses_, IsEmpty());
    EXPECT_TRUE(dismiss(1));
    EXPECT_TRUE(runUntil([this] { return !responses_.empty(); }));
    EXPECT_THAT(responses_, ElementsAre(AlertSecondButtonReturn));
    EXPECT_THAT(window_->findChildren<QMessageBox*>(), IsEmpty());
}

TEST_F(SheetTest, AnswersEscapeLikeTheLastButton) {
    begin(alertWithButtons({"One", "Two", "Three"}));
    press(*openAlert(), Qt::Key_Escape);
    EXPECT_TRUE(runUntil([this] { return !responses_.empty(); }));
    EXPECT_THAT(responses_, ElementsAre(AlertFirstButtonReturn + 2));
}

TEST_F(SheetTest, ShowsAHiddenWindowFirst) {
    window_->hide();
    begin(alertWithButtons({"OK"}));
    EXPECT_TRUE(window_->isVisible());
    ASSERT_NE(openAlert(), nullptr);
    EXPECT_TRUE(dismiss(0));
}

TEST_F(SheetTest, ShowsSeveralSheetsOneAfterTheOther) {
    for (const char* const title : {"One", "Two", "Three"})
        begin(alertWithButtons({title, "Other"}));
    for (const char* const title : {"One", "Two", "Three"}) {
        ASSERT_TRUE(runUntil([] { return openAlert() != nullptr; }));
        EXPECT_EQ(openAlert()->buttons().constFirst()->text(), title);
        EXPECT_TRUE(dismiss(0));
    }
    EXPECT_TRUE(runUntil([this] { return responses_.size() == 3; }));
    EXPECT_EQ(openAlert(), nullptr);
}

TEST_F(SheetTest, NeverAnswersWhenTheWindowGoesFirst) {
    const auto held = std::make_shared<int>();
    alertWithButtons({"OK"}).beginSheetModalForWindow(
        window_.get(), [held](ModalResponse) { FAIL() << "There is no window to answer for"; });
    begin(alertWithButtons({"Waits"}));
    window_.reset();
    EXPECT_EQ(openAlert(), nullptr);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_THAT(responses_, IsEmpty());
}

TEST_F(SheetTest, LetsTheHandlerTakeTheWindowAway) {
    bool answered = false;
    alertWithButtons({"OK"}).beginSheetModalForWindow(window_.get(), [&](ModalResponse) {
        window_.reset();
        answered = true;
    });
    openAlert()->buttons().constFirst()->click();
    EXPECT_TRUE(runUntil([&answered] { return answered; }));
}

TEST_F(SheetTest, NeedsNeitherHandlerNorWindow) {
    alertWithButtons({"OK"}).beginSheetModalForWindow(window_.get(), nullptr);
    EXPECT_TRUE(dismiss(0));
    alertWithButtons({"OK"}).beginSheetModalForWindow(nullptr, [](ModalResponse) { FAIL(); });
    EXPECT_EQ(openAlert(), nullptr);
}
