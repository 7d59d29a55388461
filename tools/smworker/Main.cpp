#include <windows.h>

#include <exception>

#include "common/ForcedEnd.h"
#include "common/ModuleActivity.h"
#include "common/Text.h"
#include "smworker/Inbox.h"
#include "smworker/LineReader.h"
#include "smworker/Outbox.h"
#include "smworker/Session.h"
#include "smworker/StandardStreams.h"

namespace smworker {

namespace {

// What the threads share. Never destroyed, as they serve to the very end.
struct Worker {
    Inbox inbox;
    Outbox* outbox = nullptr;
    HANDLE fromClient = nullptr;
    HANDLE ending = nullptr;  // an event
};
Worker& worker = *new Worker;

// For a source, or a client, that keeps the main thread from its end.
DWORD WINAPI endAfterGrace(void*) {
    constexpr DWORD grace = 5000;
    WaitForSingleObject(worker.ending, INFINITE);
    Sleep(grace);
    const char* const function = host::moduleActivity().function;
    host::endAtOnce(
        {host::FailureCode::Cancelled,
         function ? host::format("The client is gone, and the source didn't come back from %s. Pages that "
                                 "are complete are kept.",
                                 function)
                  : "The client is gone."});
}

void startEnd() {
    worker.inbox.end();
    SetEvent(worker.ending);
}

// What can't wait for the main thread.
Json ping() {
    const std::string running = worker.inbox.running();
    Json result{{"busy", !running.empty()}};
    if (running.empty()) return result;
    const host::ModuleActivity activity = host::moduleActivity();
    result["method"] = running;
    result["sinceMs"] = activity.idle;
    if (activity.function) result["function"] = activity.function;
    return result;
}

Json cancel(const Json& params) {
    return {{"cancelled", worker.inbox.cancel(findMember(params, "id"))}};
}

// False when the client wants no more.
bool take(const std::string& line) {
    Request request;
    try {
        readRequest(line, request);
        const bool isPing = request.method == "ping";
        if (isPing || request.method == "cancel") {
            Json result = isPing ? ping() : cancel(request.params);
            if (request.id) worker.outbox->send(resultLine(*request.id, std::move(result)));
            return true;
        }
        worker.inbox.add(request);
        return request.method != "shutdown";
    } catch (const ProtocolError& error) {
        worker.outbox->send(errorLine(request.id.value_or(nullptr), error));
    } catch (const std::exception&) {
        worker.outbox->send(errorLine(nullptr, host::outOfMemory()));
    }
    return true;
}

DWORD WINAPI readAll(void*) {
    LineReader lines(worker.fromClient);
    while (const auto line = lines.next())
        if (line->find_first_not_of(" \t") != std::string::npos && !take(*line)) break;
    startEnd();
    return 0;
}

// Requests are answered here only, never in a message loop of the module's or a driver's.
void serve() {
    Session session(worker.inbox, *worker.outbox);
    while (!worker.inbox.ended()) {
        while (const auto request = worker.inbox.next())
            session.answer(*request);
        if (worker.inbox.ended()) break;
        const HANDLE changed = worker.inbox.changed();
        MsgWaitForMultipleObjectsEx(1, &changed, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
}

}  // namespace

}  // namespace smworker

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    using namespace smworker;
    ClientPipes pipes = takeStandardStreams();
    host::prepareForcedEnd();
    if (!pipes.fromClient || !pipes.toClient)
        host::endAtOnce(
            {host::FailureCode::Usage,
             "A program starts this one and talks to it over its standard input and output; docs/worker.md "
             "tells how. smscan scans from the command line."});
    worker.fromClient = pipes.fromClient.release();
    worker.outbox = new Outbox(std::move(pipes.toClient), startEnd);
    worker.ending = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(CreateThread(nullptr, 0, endAfterGrace, nullptr, 0, nullptr));
    const gui::Handle reader = gui::owned(CreateThread(nullptr, 0, readAll, nullptr, 0, nullptr));
    serve();
    worker.outbox->flush();
    // Where a thread begins or ends just when the process does, Wine crashes now and then, and the exit code
    // is lost.
    constexpr DWORD untilReaderEnds = 200;
    WaitForSingleObject(reader.get(), untilReaderEnds);
    return 0;
}
