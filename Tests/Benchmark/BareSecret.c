#include "BareSecret.h"

#include <string.h>
#include <systemd/sd-bus.h>

static const char* const service = "org.freedesktop.secrets";
static const char* const root = "/org/freedesktop/secrets";
static const char* const interface = "org.freedesktop.Secret.Service";

static int openSession(sd_bus* bus, const char** session) {
    sd_bus_message* reply = NULL;
    int result = sd_bus_call_method(bus, service, root, interface, "OpenSession", NULL, &reply,
                                    "sv", "plain", "s", "");
    if (result >= 0)
        result = sd_bus_message_skip(reply, "v");
    if (result >= 0)
        result = sd_bus_message_read(reply, "o", session);
    return result;
}

static int findItem(sd_bus* bus, const char** item) {
    sd_bus_message* reply = NULL;
    int result = sd_bus_call_method(bus, service, root, interface, "SearchItems", NULL, &reply,
                                    "a{ss}", 3, "class", "generic-password", "service",
                                    "Ardentra Registration", "creator", "NRVL");
    if (result >= 0)
        result = sd_bus_message_enter_container(reply, 'a', "o");
    if (result >= 0)
        result = sd_bus_message_read(reply, "o", item);
    return result;
}

size_t readBareSecret(char* buffer, size_t size) {
    sd_bus* bus = NULL;
    sd_bus_message* reply = NULL;
    const char* session = NULL;
    const char* item = NULL;
    const void* secret = NULL;
    size_t length = 0;
    if (sd_bus_open_user(&bus) < 0 || openSession(bus, &session) < 0 || findItem(bus, &item) <= 0 ||
        sd_bus_call_method(bus, service, item, "org.freedesktop.Secret.Item", "GetSecret", NULL,
                           &reply, "o", session) < 0 ||
        sd_bus_message_enter_container(reply, 'r', "oayays") < 0 ||
        sd_bus_message_skip(reply, "oay") < 0 ||
        sd_bus_message_read_array(reply, 'y', &secret, &length) < 0 || length > size)
        return 0;
    memcpy(buffer, secret, length);
    return length;
}
