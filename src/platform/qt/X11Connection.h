#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <xcb/xcb.h>

namespace platform::qt {

struct FreedReply {
    void operator()(void* reply) const { std::free(reply); }
};

/// A reply of the X server, freed after its last use. Null if the server sent none.
template<typename Reply>
using X11Reply = std::unique_ptr<Reply, FreedReply>;

/// The toolkit's connection to the X server; null if the toolkit draws on something else.
xcb_connection_t* x11Connection();

/// XCB_ATOM_NONE if the server does not answer.
xcb_atom_t x11Atom(xcb_connection_t* connection, const std::string& name);

}  // namespace platform::qt
