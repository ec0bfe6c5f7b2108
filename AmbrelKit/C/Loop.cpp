#include "AmbrelKit/C/Edge.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

using namespace AmbrelKit;

extern "C" {

int ambrel_loop_fd(ambrel_error* error) {
    return C::edge(error, [] { return RunLoop::current()->fileDescriptor(); });
}

int ambrel_loop_dispatch(ambrel_error* error) {
    return C::edge(error, [] { RunLoop::current()->dispatch(); });
}

int ambrel_loop_run(ambrel_error* error) {
    return C::edge(error, [] { RunLoop::current()->run(); });
}

int ambrel_loop_stop(ambrel_error* error) {
    return C::edge(error, [] { RunLoop::current()->stop(); });
}
}
