#include "BusFault.h"

#include "NameOwner.h"

#include <csignal>
#include <map>

using Faults = std::vector<BusFault>;
using Manner = NameOwner::Manner;

namespace {

QDBusMessage messageTo(const QString& path, const QString& interface, const QString& method,
                       const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(applicationName, path, interface, method);
    message.setArguments(arguments);
    return message;
}

/// A call that somebody makes to an application that runs.
void addCall(Faults& faults, const std::string& name, const QDBusMessage& call,
             const std::string& answer, const std::string& line = "") {
    faults.push_back({name,
                      call.member().toStdString(),
                      [call](BusScene& scene) {
                          const auto application = scene.startFirst();
                          BusOutcome outcome;
                          outcome.answer = wordsOfAnswer(scene.bus().connection().call(call));
                          outcome.after = scene.stateOf(*application);
                          outcome.line = scene.lines();
                          return outcome;
                      },
                      {answer, line, "goes on"}});
}

QDBusMessage open(const QVariantList& arguments) {
    return messageTo(applicationPath, applicationInterface, "Open", arguments);
}

QDBusMessage activate(const QVariantList& arguments) {
    return messageTo(applicationPath, applicationInterface, "Activate", arguments);
}

constexpr const char* answered = "an answer";
constexpr const char* unknownMethod = "org.freedesktop.DBus.Error.UnknownMethod";
constexpr const char* unknownInterface = "org.freedesktop.DBus.Error.UnknownInterface";
constexpr const char* unknownObject = "org.freedesktop.DBus.Error.UnknownObject";
constexpr const char* unknownProperty = "org.freedesktop.DBus.Error.UnknownProperty";
constexpr const char* invalidArguments = "org.freedesktop.DBus.Error.InvalidArgs";

std::string refusalOf(const std::string& url) {
    return std::string(refusalOfURL) + url;
}

void addWrongArguments(Faults& faults) {
    const QVariantMap none;
    const QStringList one("test:url");
    addCall(faults, "no arguments", open({}), unknownMethod);
    addCall(faults, "a text for the list of URLs", open({"test:url", none}), unknownMethod);
    addCall(faults, "numbers for the URLs", open({QVariant::fromValue(QList<int>{1, 2}), none}),
            unknownMethod);
    addCall(faults, "no platform data", open({one}), unknownMethod);
    addCall(faults, "a list for the platform data", open({one, one}), unknownMethod);
    addCall(faults, "one argument too many", open({one, none, 1}), unknownMethod);
    addCall(faults, "no arguments", activate({}), unknownMethod);
    addCall(faults, "a text for the platform data", activate({"text"}), unknownMethod);
    addCall(faults, "an unknown action",
            messageTo(applicationPath, applicationInterface, "ActivateAction",
                      {"new-window", QVariantList(), none}),
            invalidArguments);
    addCall(faults, "no arguments",
            messageTo(applicationPath, applicationInterface, "ActivateAction", {}), unknownMethod);
}

void addStrangeURLs(Faults& faults) {
    const QVariantMap none;
    addCall(faults, "an empty list", open({QStringList(), none}), answered);
    addCall(faults, "an empty text", open({QStringList(""), none}), answered, refusalOf(""));
    addCall(faults, "no URL", open({QStringList("no URL"), none}), answered, refusalOf("(null)"));
    addCall(faults, "control characters", open({QStringList("line\nbreak\a"), none}), answered,
            refusalOf("(null)"));
    addCall(faults, "a percent sign alone", open({QStringList("test:%zz"), none}), answered,
            refusalOf("(null)"));
    addCall(faults, "not ASCII", open({QStringList("test:ünïcode"), none}), answered,
            refusalOf("(null)"));
    addCall(faults, "a URL of 1 MiB", open({QStringList("test:" + QString(1 << 20, 'x')), none}),
            answered, refusalOf("test:xxxxxxxxxxxxxx... (32771 bytes)"));
    addCall(faults, "10,000 characters with an accent",
            open({QStringList("test:" + QString(10'000, QChar(0xe9))), none}), answered,
            refusalOf("(null)"));
}

QVariant deep(int levels) {
    QVariant value = 1;
    for (int level = 0; level < levels; ++level)
        value = QVariant::fromValue(QDBusVariant(value));
    return value;
}

void addStrangePlatformData(Faults& faults) {
    const QStringList one("test:url");
    const std::vector<std::pair<std::string, QVariantMap>> strange = {
        {"platform data of wrong types",
         {{"desktop-startup-id", 7}, {"activation-token", QStringList{"a"}}}},
        {"a startup identifier without a time", {{"desktop-startup-id", "text"}}},
        {"a startup identifier beyond every time",
         {{"desktop-startup-id", "a_TIME99999999999999999999999"}}},
        {"a startup identifier of 1 MiB", {{"desktop-startup-id", QString(1 << 20, 'x')}}},
        {"an empty activation token", {{"activation-token", ""}}},
        {"platform data 60 deep", {{"desktop-startup-id", deep(56)}}},
        {"platform data of another's", {{"\n", QByteArray("\xff\0", 2)}}}};
    for (const auto& [name, data] : strange) {
        addCall(faults, name, activate({data}), answered);
        addCall(faults, name, open({one, data}), answered, refusalOf("test:url"));
    }
}

void addUnknownCalls(Faults& faults) {
    const auto call = [&](const std::string& name, const QString& interface, const QString& method,
                          const std::string& answer, const QVariantList& arguments = {}) {
        addCall(faults, name, messageTo(applicationPath, interface, method, arguments), answered);
        faults.back().expected.answer = answer;
    };
    const QString properties = "org.freedesktop.DBus.Properties";
    call("an unknown member", applicationInterface, "Close", unknownMethod);
    call("an unknown interface", "com.example.Nothing", "Open", unknownInterface);
    call("a member of the object's own", "", "deleteLater", unknownMethod);
    call("a member of the object's own", "", "stop", unknownMethod);
    call("a signal as a call", "", "destroyed", unknownMethod);
    call("an unknown property", properties, "Get", unknownProperty, {applicationInterface, "Name"});
    call("a property of the toolkit's", properties, "Get", answered, {"", "objectName"});
    call("an unknown property", properties, "Set", unknownProperty,
         {applicationInterface, "Name", QVariant::fromValue(QDBusVariant("text"))});
    call("a property of the toolkit's", properties, "Set", answered,
         {"", "objectName", QVariant::fromValue(QDBusVariant("text"))});
    call("all properties, which are none", properties, "GetAll", answered, {applicationInterface});
    call("introspection", "org.freedesktop.DBus.Introspectable", "Introspect", answered);
    call("a sign of life", "org.freedesktop.DBus.Peer", "Ping", answered);
    const QVariantList arguments = {QStringList("test:url"), QVariantMap()};
    addCall(faults, "an unknown object",
            messageTo("/com/norvale/other", applicationInterface, "Open", arguments),
            unknownObject);
    addCall(faults, "the object above", messageTo("/", applicationInterface, "Open", arguments),
            unknownInterface);
}

/// Another program has the name before the application starts.
void addOwner(Faults& faults, const std::string& name, Manner manner, const BusOutcome& expected) {
    faults.push_back({name, "start",
                      [manner](BusScene& scene) {
                          NameOwner owner(manner);
                          const ProgramResult result = runProgram(application({"test:url"}));
                          return BusOutcome{"status " +
                                                std::to_string(result.exitStatus.value_or(-1)),
                                            scene.lines(), "the other gets " + owner.calls()};
                      },
                      expected});
}

void addOwners(Faults& faults) {
    const std::string notReached = "The application that is running already could not be reached: ";
    const std::string one = "the other gets Open test:url";
    addOwner(faults, "another has the name, and answers", Manner::Answers, {"status 0", "", one});
    addOwner(faults, "another has the name, and refuses", Manner::AnswersWithAnError,
             {"status 1", notReached + "Not today", one});
    addOwner(faults, "another has the name, without the object", Manner::HasNoSuchObject,
             {"status 1", notReached + "No such object", one});
    addOwner(faults, "another has the name, and never answers", Manner::IsSilent,
             {"status 1", notReached + "Did not receive a ... (272 bytes)", one});
    addOwner(faults, "another has the name, and pretends to end", Manner::SaysThatItIsEnding,
             {"status 1", notReached + "It was replaced again and again.",
              "the other gets 10 times Open test:url"});
    faults.push_back({"another has the name, and goes away",
                      "start",
                      [](BusScene& scene) {
                          NameOwner owner(Manner::GoesAway);
                          const auto second = start({"test:url"});
                          const bool arrived = scene.arrives("test:url");
                          return BusOutcome{arrived ? "the URL is handled" : "the URL is lost",
                                            scene.linesOfNoURL(), scene.stateOf(*second)};
                      },
                      {"the URL is handled", "", "goes on"}});
}

constexpr int many = 1000;

/// Each of which waits for the other application.
constexpr int someToPassOn = 200;

QString urlOf(int number) {
    return "test:" + QString::number(number);
}

/// Sends them at once; what the callers get, in words, once all have it.
class Burst {
public:
    Burst(const BusScene& scene, int size) {
        for (int number = 0; number < size; ++number)
            calls_.push_back(scene.bus().send("Open", {QStringList(urlOf(number)), QVariantMap()}));
    }

    std::string answers() {
        std::map<std::string, int> counts;
        for (QDBusPendingCall& call : calls_) {
            call.waitForFinished();
            ++counts[wordsOfAnswer(call.reply())];
        }
        std::string words;
        for (const auto& [answer, count] : counts)
            words += (words.empty() ? "" : ", ") + std::to_string(count) + " times " + answer;
        return words;
    }

private:
    std::vector<QDBusPendingCall> calls_;
};

/// How many URLs of the burst have arrived, when the last has.
std::string wordsOfURLs(BusScene& scene, int size) {
    const std::string last = urlOf(size - 1).toStdString();
    if (!scene.arrives(last))
        return "the last URL is lost";
    const std::vector<std::string> urls = scene.arrivedURLs();
    bool isInOrder = urls.size() == static_cast<std::size_t>(size);
    for (std::size_t number = 0; isInOrder && number < urls.size(); ++number)
        isInOrder = urls[number] == urlOf(static_cast<int>(number)).toStdString();
    return std::to_string(urls.size()) + (isInOrder ? " URLs in order" : " URLs, not in order");
}

void addBursts(Faults& faults) {
    faults.push_back({"1,000 calls at once",
                      "Open",
                      [](BusScene& scene) {
                          const auto application = scene.startFirst();
                          BusOutcome outcome;
                          outcome.answer = Burst(scene, many).answers();
                          outcome.after =
                              wordsOfURLs(scene, many) + ", " + scene.stateOf(*application);
                          outcome.line = scene.linesOfNoURL();
                          return outcome;
                      },
                      {"1000 times an answer", "", "1000 URLs in order, goes on"}});
    faults.push_back(
        {"1,000 calls behind an alert, and it ends",
         "Open",
         [](BusScene& scene) {
             scene.letNoRegistrationBePending();
             const auto application = scene.startFirst({"test:first"});
             Burst burst(scene, many);
             const std::string before = scene.stateOf(*application);
             const std::string end = BusScene::endOf(*application);
             return BusOutcome{burst.answers(), scene.linesOfNoURL(), before + ", " + end};
         },
         {"1000 times com.norvale.tessor.Error.Ending", "", "goes on, ends in order"}});
    faults.push_back(
        {"200 calls behind an alert, and the bus starts another",
         "Open",
         [](BusScene& scene) {
             scene.letNoRegistrationBePending();
             const auto application = scene.startFirst({"test:first"});
             Burst burst(scene, someToPassOn);
             const std::string before = scene.stateOf(*application);
             scene.letARegistrationBePending();
             const std::string end = BusScene::endOf(*application);
             BusOutcome outcome{burst.answers(), scene.linesOfNoURL(),
                                before + ", " + end + ", " + wordsOfURLs(scene, someToPassOn)};
             kill(scene.bus().owner(), SIGTERM);
             return outcome;
         },
         {"200 times an answer", "", "goes on, ends in order, 200 URLs in order"},
         {{applicationName, "/usr/bin/env QT_QPA_PLATFORM=offscreen '" VT_PROGRAM "'"}}});
    QStringList urls;
    for (int number = 0; number < many; ++number)
        urls.append(urlOf(number));
    faults.push_back(
        {"1,000 URLs in one call",
         "Open",
         [urls](BusScene& scene) {
             const auto application = scene.startFirst();
             BusOutcome outcome;
             outcome.answer = wordsOfAnswer(scene.bus().call("Open", {urls, QVariantMap()}));
             outcome.after = wordsOfURLs(scene, many) + ", " + scene.stateOf(*application);
             outcome.line = scene.linesOfNoURL();
             return outcome;
         },
         {"an answer", "", "1000 URLs in order, goes on"}});
}

using Registration = QDBusConnectionInterface;

/// Another program asks for the name of an application that runs, which then ends.
void addRequest(Faults& faults, const std::string& name, Registration::ServiceQueueOptions option,
                const BusOutcome& expected) {
    faults.push_back({name, "RequestName",
                      [option](BusScene& scene) {
                          const auto application = scene.startFirst();
                          QDBusConnectionInterface& bus = *scene.bus().connection().interface();
                          const auto reply = bus.registerService(applicationName, option);
                          BusOutcome outcome;
                          outcome.answer = reply.value() == Registration::ServiceQueued
                                               ? "waits for it"
                                               : "does not get it";
                          outcome.after = scene.stateOf(*application) + ", ";
                          outcome.after += BusScene::endOf(*application);
                          outcome.line = scene.lines();
                          return outcome;
                      },
                      expected});
}

void addLossOfTheName(Faults& faults) {
    addRequest(faults, "another would take the name over", Registration::ReplaceExistingService,
               {"does not get it", "", "goes on, ends in order"});
    addRequest(faults, "another waits for the name", Registration::QueueService,
               {"waits for it", "", "goes on, ends in order"});
    faults.push_back({"the bus is killed",
                      "end",
                      [](BusScene& scene) {
                          const auto application = scene.startFirst();
                          scene.session().bus().kill();
                          const std::string end = BusScene::endOf(*application);
                          return BusOutcome{"no bus", scene.lines(), end};
                      },
                      {"no bus", "", "ends in order"}});
    faults.push_back({"the bus hangs",
                      "end",
                      [](BusScene& scene) {
                          const auto application = scene.startFirst();
                          scene.session().bus().stop();
                          const std::string end = BusScene::endOf(*application);
                          scene.session().bus().sendSignal(SIGCONT);
                          return BusOutcome{"no answer", scene.lines(), end};
                      },
                      {"no answer", "", "ends in order"}});
    faults.push_back(
        {"the bus is killed, and there is another",
         "start",
         [](BusScene& scene) {
             const auto first = scene.startFirst();
             scene.session().startBusAnew();
             scene.session().startKeyring(PrivateSession::Keyring::unlocked);
             const auto second = start({"test:url"});
             const bool arrived = scene.arrives("test:url");
             BusOutcome outcome;
             outcome.answer = arrived ? "the URL is handled" : "the URL is lost";
             outcome.after = "the first " + BusScene::endOf(*first);
             outcome.after += ", the second " + BusScene::endOf(*second);
             outcome.line = scene.linesOfNoURL();
             return outcome;
         },
         {"the URL is handled", "", "the first ends in order, the second ends in order"}});
}

} // namespace

std::vector<BusFault> BusFault::all() {
    Faults faults;
    addWrongArguments(faults);
    addStrangeURLs(faults);
    addStrangePlatformData(faults);
    addUnknownCalls(faults);
    addOwners(faults);
    addBursts(faults);
    addLossOfTheName(faults);
    return faults;
}

std::ostream& operator<<(std::ostream& stream, const BusFault& fault) {
    return stream << fault.name << ", " << fault.operation;
}
