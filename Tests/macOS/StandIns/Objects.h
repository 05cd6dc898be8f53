#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// The stand-ins' objects. They count who holds them as the real ones do; what the real ones would
/// answer with a crash, or not at all, is a complaint here, and whoever runs tests looks for those.
namespace standins {

enum class Type : CFTypeID { String = 1, Data, Number, Boolean, Array, Dictionary, URL, Other };

struct Object {
    explicit Object(Type itsType) : type(itsType) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    const Type type;
    std::size_t references = 1;
    bool isConstant = false; ///< one of the system's own, which stays
};

/// Enters a new object, held once by whoever called.
void enter(const void* address, std::unique_ptr<Object> object, bool isConstant);

template <typename Kind>
Kind* make(std::unique_ptr<Kind> object, bool isConstant = false) {
    Kind* const address = object.get();
    enter(address, std::move(object), isConstant);
    return address;
}

/// The object at the address, of that kind; null, with a complaint, when there is none.
Object* objectAt(const void* address);
template <typename Kind>
Kind* objectOf(const void* address) {
    return dynamic_cast<Kind*>(objectAt(address));
}

bool isEqual(const void* one, const void* other);

void complain(const std::string& complaint);

/// What was complained of since the last call.
std::vector<std::string> takeComplaints();

/// How often objects are held that somebody still has to release.
std::size_t countHolds();

CFStringRef makeString(const std::string& text);

/// A string of the system's own with that text, the same one at each call.
CFStringRef constantString(const std::string& text);

/// A string of one character that has no form in UTF-8 (half of a surrogate pair).
CFStringRef makeStringWithoutUTF8();

/// The text of a string; a complaint when it is none.
std::string textOf(CFStringRef string);

} // namespace standins

struct StandInString : standins::Object {
    explicit StandInString(std::string itsText)
        : Object(standins::Type::String), text(std::move(itsText)) {}
    std::string text;
    bool hasUTF8 = true;
};

struct StandInData : standins::Object {
    explicit StandInData(std::vector<UInt8> itsBytes)
        : Object(standins::Type::Data), bytes(std::move(itsBytes)) {}
    std::vector<UInt8> bytes;
};

struct StandInNumber : standins::Object {
    explicit StandInNumber(std::int32_t itsValue)
        : Object(standins::Type::Number), value(itsValue) {}
    std::int32_t value;
};

struct StandInBoolean : standins::Object {
    explicit StandInBoolean(bool itsValue) : Object(standins::Type::Boolean), value(itsValue) {}
    bool value;
};

struct StandInArray : standins::Object {
    StandInArray() : Object(standins::Type::Array) {}
    ~StandInArray() override;
    std::vector<CFTypeRef> values; ///< held
};

struct StandInURL : standins::Object {
    explicit StandInURL(std::string itsText)
        : Object(standins::Type::URL), text(std::move(itsText)) {}
    std::string text;
};

struct StandInDictionary : standins::Object {
    StandInDictionary() : Object(standins::Type::Dictionary) {}
    ~StandInDictionary() override;

    /// Held. Null when there is no such key.
    const void* find(const void* key) const;
    std::vector<std::pair<const void*, const void*>> entries;
};
