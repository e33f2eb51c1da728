// A clipboard owner that speaks the selection protocol with raw X requests, for the cases a Qt owner
// never produces: an owner that stops answering, and INCR transfers with chosen chunk sizes and a
// chosen size announcement.
//
//   xcb_owner_peer [--offer TARGET=FILE]... [--silent] [--chunk BYTES] [--announce BYTES]
//
// Takes the CLIPBOARD selection, prints "ready", then "request TARGET" for every request it receives.
// TARGETS is always answered. With --silent no other request is; otherwise data longer than --chunk
// (default 1 MiB) goes out INCR, in chunks of that size, announcing --announce bytes (default: the real
// size), and "sent BYTES" follows the last chunk. Runs until killed.
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

struct Offer
{
    xcb_atom_t atom;
    std::string name;
    std::string data;
};

struct Transfer
{
    xcb_atom_t property;
    const Offer *offer;
    size_t offset;
};

xcb_connection_t *c = nullptr;

[[noreturn]] void usage(const char *problem)
{
    std::fprintf(stderr, "xcb_owner_peer: %s\n", problem);
    std::exit(2);
}

xcb_atom_t intern(const std::string &name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(name.size()), name.c_str()), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : XCB_NONE;
    std::free(reply);
    return atom;
}

void notify(const xcb_selection_request_event_t *request, xcb_atom_t property)
{
    const xcb_selection_notify_event_t event{
        XCB_SELECTION_NOTIFY, 0,       0, request->time, request->requestor, request->selection,
        request->target,      property};
    xcb_send_event(c, 0, request->requestor, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char *>(&event));
}

} // namespace

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // every line reaches the test at once
    c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        usage("cannot connect to the X server");
    std::vector<Offer> offers;
    bool silent = false;
    size_t chunk = 1024 * 1024;
    long long announce = -1;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const std::string value = arg == "--silent" || i + 1 == argc ? std::string() : argv[++i];
        // Target names may hold '=' themselves ("text/plain;charset=utf-8").
        const size_t equals = value.rfind('=');
        std::ifstream file(equals == std::string::npos ? std::string() : value.substr(equals + 1),
                           std::ios::binary);
        if (arg == "--silent")
            silent = true;
        else if (arg == "--offer" && equals != std::string::npos && file)
            offers.push_back({intern(value.substr(0, equals)), value.substr(0, equals),
                              std::string(std::istreambuf_iterator<char>(file), {})});
        else if (arg == "--chunk" && std::strtoull(value.c_str(), nullptr, 10) > 0)
            chunk = std::strtoull(value.c_str(), nullptr, 10);
        else if (arg == "--announce")
            announce = std::strtoll(value.c_str(), nullptr, 10);
        else
            usage("expected --offer TARGET=FILE, --silent, --chunk BYTES or --announce BYTES");
    }

    const xcb_atom_t clipboard = intern("CLIPBOARD");
    const xcb_atom_t targets = intern("TARGETS");
    const xcb_atom_t incr = intern("INCR");
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_window_t window = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_set_selection_owner(c, window, clipboard, XCB_CURRENT_TIME);
    // A round trip, so that the selection is ours before the test hears "ready".
    std::free(xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, clipboard), nullptr));
    std::puts("ready");

    std::map<xcb_window_t, Transfer> transfers;
    while (xcb_generic_event_t *event = xcb_wait_for_event(c)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_SELECTION_REQUEST) {
            const auto *request = reinterpret_cast<const xcb_selection_request_event_t *>(event);
            const auto offer = std::find_if(offers.cbegin(), offers.cend(),
                                            [&](const Offer &o) { return o.atom == request->target; });
            std::printf("request %s\n", request->target == targets ? "TARGETS"
                                        : offer != offers.cend()   ? offer->name.c_str()
                                                                   : "?");
            const xcb_atom_t property = request->property == XCB_NONE ? request->target : request->property;
            if (request->target == targets) {
                std::vector<xcb_atom_t> list{targets};
                for (const Offer &each : offers)
                    list.push_back(each.atom);
                xcb_change_property(c, XCB_PROP_MODE_REPLACE, request->requestor, property, XCB_ATOM_ATOM, 32,
                                    uint32_t(list.size()), list.data());
                notify(request, property);
            } else if (!silent && offer != offers.cend()) {
                if (offer->data.size() <= chunk) {
                    xcb_change_property(c, XCB_PROP_MODE_REPLACE, request->requestor, property, offer->atom,
                                        8, uint32_t(offer->data.size()), offer->data.data());
                } else {
                    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
                    xcb_change_window_attributes(c, request->requestor, XCB_CW_EVENT_MASK, &mask);
                    const uint32_t size = uint32_t(announce >= 0 ? announce : (long long)offer->data.size());
                    xcb_change_property(c, XCB_PROP_MODE_REPLACE, request->requestor, property, incr, 32, 1,
                                        &size);
                    transfers[request->requestor] = {property, &*offer, 0};
                }
                notify(request, property);
            } else if (!silent) {
                notify(request, XCB_NONE);
            }
        } else if (type == XCB_PROPERTY_NOTIFY) {
            const auto *change = reinterpret_cast<const xcb_property_notify_event_t *>(event);
            auto it = transfers.find(change->window);
            if (it != transfers.end() && change->atom == it->second.property &&
                change->state == XCB_PROPERTY_DELETE) {
                Transfer &transfer = it->second;
                const size_t length = std::min(chunk, transfer.offer->data.size() - transfer.offset);
                xcb_change_property(c, XCB_PROP_MODE_REPLACE, change->window, transfer.property,
                                    transfer.offer->atom, 8, uint32_t(length),
                                    transfer.offer->data.data() + transfer.offset);
                transfer.offset += length;
                if (length == 0) {
                    std::printf("sent %zu\n", transfer.offset);
                    transfers.erase(it);
                }
            }
        }
        std::free(event);
        xcb_flush(c);
    }
    return 0;
}
