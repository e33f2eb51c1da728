// A clipboard owner that speaks the selection protocol with raw X requests, for the cases a Qt owner
// never produces: an owner that stops answering, and INCR transfers with chosen chunk sizes and a
// chosen size announcement.
//
//   xcb_owner_peer [--offer TARGET=FILE]... [--silent] [--chunk BYTES] [--announce BYTES]
//
// Takes the CLIPBOARD selection, prints "ready", then "request TARGET" for every request it receives.
// TARGETS is always answered. With --silent no other request is; otherwise data longer than --chunk
// (default 1 MiB) goes out INCR, in chunks of that size, announcing --announce bytes (default: the real
// size). Runs until killed.
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

struct Offer
{
    xcb_atom_t atom = XCB_NONE;
    std::string name;
    std::string data;
};

struct Transfer
{
    xcb_atom_t property = XCB_NONE;
    xcb_atom_t type = XCB_NONE;
    const std::string *data = nullptr;
    size_t offset = 0;
};

[[noreturn]] void usage(const char *problem)
{
    std::fprintf(stderr, "xcb_owner_peer: %s\n", problem);
    std::exit(2);
}

void say(const std::string &line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

xcb_atom_t intern(xcb_connection_t *c, const std::string &name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(name.size()), name.c_str()), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : XCB_NONE;
    std::free(reply);
    return atom;
}

std::string atomName(xcb_connection_t *c, xcb_atom_t atom)
{
    xcb_get_atom_name_reply_t *reply = xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atom), nullptr);
    std::string name =
        reply ? std::string(xcb_get_atom_name_name(reply), size_t(xcb_get_atom_name_name_length(reply)))
              : std::string("?");
    std::free(reply);
    return name;
}

void notify(xcb_connection_t *c, const xcb_selection_request_event_t *request, xcb_atom_t property)
{
    xcb_selection_notify_event_t event{};
    event.response_type = XCB_SELECTION_NOTIFY;
    event.time = request->time;
    event.requestor = request->requestor;
    event.selection = request->selection;
    event.target = request->target;
    event.property = property;
    xcb_send_event(c, 0, request->requestor, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char *>(&event));
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<Offer> offers;
    bool silent = false;
    size_t chunk = 1024 * 1024;
    long long announce = -1;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--silent") {
            silent = true;
            continue;
        }
        if (i + 1 >= argc)
            usage("option needs a value");
        const std::string value = argv[++i];
        if (arg == "--offer") {
            // Target names may hold '=' themselves ("text/plain;charset=utf-8").
            const size_t equals = value.rfind('=');
            if (equals == std::string::npos || equals == 0)
                usage("expected TARGET=FILE");
            std::ifstream file(value.substr(equals + 1), std::ios::binary);
            if (!file)
                usage("cannot read data file");
            offers.push_back(
                {XCB_NONE, value.substr(0, equals), std::string(std::istreambuf_iterator<char>(file), {})});
        } else if (arg == "--chunk") {
            chunk = std::strtoull(value.c_str(), nullptr, 10);
        } else if (arg == "--announce") {
            announce = std::strtoll(value.c_str(), nullptr, 10);
        } else {
            usage("unknown option");
        }
    }
    if (chunk == 0)
        usage("chunk must be positive");

    int screenNumber = 0;
    xcb_connection_t *c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c))
        usage("cannot connect to the X server");
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);

    const xcb_atom_t clipboard = intern(c, "CLIPBOARD");
    const xcb_atom_t targets = intern(c, "TARGETS");
    const xcb_atom_t incr = intern(c, "INCR");
    for (Offer &offer : offers)
        offer.atom = intern(c, offer.name);

    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screens.data->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screens.data->root_visual, XCB_CW_EVENT_MASK, &events);
    // A server timestamp for the ownership: the time of a property change on our own window.
    xcb_change_property(c, XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(c);
    xcb_timestamp_t now = XCB_CURRENT_TIME;
    while (xcb_generic_event_t *event = xcb_wait_for_event(c)) {
        const bool found = (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY;
        if (found)
            now = reinterpret_cast<xcb_property_notify_event_t *>(event)->time;
        std::free(event);
        if (found)
            break;
    }
    xcb_set_selection_owner(c, window, clipboard, now);
    xcb_get_selection_owner_reply_t *owner =
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, clipboard), nullptr);
    if (!owner || owner->owner != window)
        usage("could not take the clipboard");
    std::free(owner);
    say("ready");

    std::map<xcb_window_t, Transfer> transfers;
    while (xcb_generic_event_t *event = xcb_wait_for_event(c)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_SELECTION_REQUEST) {
            const auto *request = reinterpret_cast<const xcb_selection_request_event_t *>(event);
            say("request " + atomName(c, request->target));
            const xcb_atom_t property = request->property == XCB_NONE ? request->target : request->property;
            if (request->target == targets) {
                std::vector<xcb_atom_t> list{targets};
                for (const Offer &offer : offers)
                    list.push_back(offer.atom);
                xcb_change_property(c, XCB_PROP_MODE_REPLACE, request->requestor, property, XCB_ATOM_ATOM, 32,
                                    uint32_t(list.size()), list.data());
                notify(c, request, property);
            } else if (!silent) {
                const Offer *offer = nullptr;
                for (const Offer &candidate : offers) {
                    if (candidate.atom == request->target)
                        offer = &candidate;
                }
                if (!offer) {
                    notify(c, request, XCB_NONE);
                } else if (offer->data.size() <= chunk) {
                    xcb_change_property(c, XCB_PROP_MODE_REPLACE, request->requestor, property, offer->atom,
                                        8, uint32_t(offer->data.size()), offer->data.data());
                    notify(c, request, property);
                } else {
                    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
                    xcb_change_window_attributes(c, request->requestor, XCB_CW_EVENT_MASK, &mask);
                    const uint32_t size = uint32_t(announce >= 0 ? announce : (long long)offer->data.size());
                    xcb_change_property(c, XCB_PROP_MODE_REPLACE, request->requestor, property, incr, 32, 1,
                                        &size);
                    transfers[request->requestor] = {property, offer->atom, &offer->data, 0};
                    notify(c, request, property);
                }
            }
        } else if (type == XCB_PROPERTY_NOTIFY) {
            const auto *change = reinterpret_cast<const xcb_property_notify_event_t *>(event);
            auto it = transfers.find(change->window);
            if (it != transfers.end() && change->atom == it->second.property &&
                change->state == XCB_PROPERTY_DELETE) {
                Transfer &transfer = it->second;
                const size_t length = std::min(chunk, transfer.data->size() - transfer.offset);
                xcb_change_property(c, XCB_PROP_MODE_REPLACE, change->window, transfer.property,
                                    transfer.type, 8, uint32_t(length),
                                    transfer.data->data() + transfer.offset);
                transfer.offset += length;
                if (length == 0) {
                    say("sent " + std::to_string(transfer.offset));
                    transfers.erase(it);
                }
            }
        } else if (type == XCB_SELECTION_CLEAR) {
            say("lost");
        }
        std::free(event);
        xcb_flush(c);
    }
    return 0;
}
