#include "foundation/log/DiagnosticLogger.hpp"

#include "foundation/usm/StateStore.hpp"

#include <boost/log/attributes/constant.hpp>
#include <boost/make_shared.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/utility/setup/console.hpp>

#include <iostream>
#include <memory>
#include <mutex>

namespace foundation::log {

namespace {

namespace logging = boost::log;
namespace expr = boost::log::expressions;

const char* const kLevelAttribute = "Level";

using ConsoleSink = logging::sinks::synchronous_sink<logging::sinks::text_ostream_backend>;

// The console sink, if one is attached. Kept in the process scope so that a
// test that resets the store also detaches it.
struct ConsoleOutputState {
    std::mutex mutex;
    boost::shared_ptr<ConsoleSink> sink;

    ~ConsoleOutputState() { detach(); }
    void detach() {
        if (sink) logging::core::get()->remove_sink(sink);
        sink.reset();
    }
};

ConsoleOutputState& consoleOutputState() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const auto id = Store::getNextID(typeid(ConsoleOutputState));
    return Store::findOrInsert<ConsoleOutputState>(id, [] { return std::make_unique<ConsoleOutputState>(); });
}

// The logger's own attributes (its channel) and the level of this record.
// The level varies per record, and the channel logger has no per-record
// attribute other than the channel, so the record is opened on the core with
// the level added; sinks and filters see both attributes.
logging::record openRecord(const logging::sources::channel_logger_mt<std::string>& logger, int level) {
    logging::core_ptr core = logging::core::get();
    if (!core->get_logging_enabled()) return {};
    logging::attribute_set attributes = logger.get_attributes();
    attributes.insert(kLevelAttribute, logging::attributes::constant<int>(level));
    return core->open_record(attributes);
}

// Boost.Log writes every record to the console while the core has no sink
// at all. The system's diagnostics are silent unless asked for, so a sink
// that takes nothing is always in place.
void silenceDefaultSink() {
    static std::once_flag once;
    std::call_once(once, [] {
        auto sink = boost::make_shared<ConsoleSink>();
        sink->set_filter([](const logging::attribute_value_set&) { return false; });
        logging::core::get()->add_sink(sink);
    });
}

}  // namespace

// The channel logger only reaches the logging core through its singleton,
// which Boost.Log makes on first use: so a logger may be a static of a module
// that is loaded before anything else has logged.
basic_diagnostic_logger::basic_diagnostic_logger(std::string channel)
    : channel_(std::move(channel)), logger_(logging::keywords::channel = channel_) {
    silenceDefaultSink();
}

void basic_diagnostic_logger::write(int level, const std::string& message) const {
    logging::record record = openRecord(logger_, level);
    if (!record) return;
    {
        logging::record_ostream stream(record);
        stream << message;
        stream.flush();
    }
    logging::core::get()->push_record(std::move(record));
}

bool basic_diagnostic_logger::enabled(int level) const { return static_cast<bool>(openRecord(logger_, level)); }

FunctionTrace::FunctionTrace(const basic_diagnostic_logger& logger, const char* signature)
    : logger_(logger), signature_(signature), uncaught_(std::uncaught_exceptions()) {
    logger_.write(32, signature_);
}

FunctionTrace::~FunctionTrace() {
    // Only an exception that began inside the scope ends it by a throw; one
    // that was already in flight at the opening (a trace inside a destructor
    // run by unwinding) does not.
    const bool thrown = std::uncaught_exceptions() > uncaught_;
    try {
        logger_.write(64, thrown ? std::string(signature_) + " [throw]" : std::string(signature_));
    } catch (...) {
        // A destructor that may run during unwinding must not throw: the
        // trace is lost, nothing else is.
    }
}

void enableConsoleOutput(int maxLevel) {
    ConsoleOutputState& state = consoleOutputState();
    std::lock_guard lock(state.mutex);
    state.detach();
    if (maxLevel < 0) return;
    state.sink =
        logging::add_console_log(std::clog, logging::keywords::filter = expr::attr<int>(kLevelAttribute) <= maxLevel,
                                 logging::keywords::format = expr::stream << "[" << expr::attr<std::string>("Channel")
                                                                          << "] " << expr::attr<int>(kLevelAttribute)
                                                                          << ": " << expr::smessage);
}

}  // namespace foundation::log
