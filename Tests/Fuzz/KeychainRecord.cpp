// What another program may have put in the place of a record.

#include "Platform/Linux/KeychainRecord.h"

#include "Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto record = platform::decodeKeychainRecord(textOf(data, size));
    if (!record)
        return 0;
    const auto text = platform::encodeKeychainRecord(*record);
    require(text.has_value());
    require(platform::decodeKeychainRecord(*text) == record);
    return 0;
}
