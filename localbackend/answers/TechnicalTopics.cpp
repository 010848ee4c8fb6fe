#include "answers/TechnicalTopics.h"

#include "answers/Sentences.h"

#include <algorithm>
#include <array>

namespace quorvel::localbackend {

namespace {

struct Entry
{
    std::string_view keywords;
    TechnicalTopic topic;
};

constexpr auto entries = std::to_array<Entry>({
    {"process thread threads processes concurrency parallel lock mutex deadlock race",
     {"A process has its own memory and fails alone; threads share memory, so they exchange data cheaply but have to "
      "be "
      "kept from racing, best by sharing little and passing ownership",
      "isolation and simpler reasoning against cheaper communication"}},
    {"database query sql index slow postgres mysql schema table join",
     {"I would look at the query plan first, then at what it reads compared with what it returns: a fitting index, "
      "fewer "
      "rows and columns, no query in a loop; only then caching or another schema",
      "every index speeds reads up and costs writes and space"}},
    {"cache caching redis memcached cdn",
     {"I would cache what is read often and changes seldom, decide how stale it may be, and plan for the moment when "
      "the "
      "cache is empty",
      "speed and load against freshness and the work of invalidating"}},
    {"million users scale scaling scalable load traffic throughput design large system",
     {"I would start from numbers: requests a second, data size, latency and what may be lost; keep the services "
      "stateless, put queues before slow work, split the data where a single store no longer holds, and measure before "
      "each step",
      "each part that is added takes load and adds a way to fail and a place where data may disagree"}},
    {"consistency distributed replication partition consensus cap eventual",
     {"I would ask which reads must see the latest write; those go through one owner of the data, the rest may lag",
      "consistency against availability and latency when the network fails"}},
    {"microservice microservices monolith service services architecture",
     {"I would start with one well-divided program and split off what has to scale, deploy or fail on its own",
      "independent teams and releases against network failures, versioning and harder debugging"}},
    {"test testing tests correct correctness quality bug bugs unit integration",
     {"I would state what has to hold, test it at the cheapest level that can fail for the right reason, add a test "
      "for "
      "every fault before fixing it, and have the tests run on each change, with review and static checks beside them",
      "confidence against the time tests take to run and to keep"}},
    {"debug debugging incident outage production troubleshoot root cause",
     {"I would stop the damage first, then narrow the fault down by what changed and by measuring, one hypothesis at a "
      "time, and write down the cause and what would have shown it sooner",
      "restoring service at once against keeping the evidence"}},
    {"api rest graphql endpoint interface grpc versioning",
     {"I would design from the callers' tasks, name things once, make errors and limits explicit, and let it grow "
      "without "
      "breaking callers",
      "a general interface against one that is simple for the common case"}},
    {"security authentication authorization oauth token encrypt password vulnerability",
     {"I would ask what an attacker wants, check every input at the boundary, give each part the least rights, keep "
      "secrets out of code and logs, and rely on proven libraries",
      "protection against convenience and cost"}},
    {"queue message kafka rabbitmq event events stream streaming asynchronous",
     {"I would put a queue where producer and consumer differ in speed or in uptime, make handlers safe to repeat, and "
      "watch the backlog",
      "decoupling and smoothing of peaks against delay, ordering and duplicates"}},
    {"deploy deployment docker kubernetes container ci cd pipeline release rollback devops infrastructure cloud aws",
     {"I would make each release small, automatic and reversible: build once, test, roll out to a few, watch, go on or "
      "roll back",
      "speed of delivery against the effort for automation"}},
    {"performance optimize optimise latency memory profile profiling slow fast improve efficient",
     {"I would measure first, find the part that dominates, change the algorithm or the data layout before the "
      "details, "
      "and measure again",
      "speed against simplicity and memory"}},
    {"browser address url http dns tls tcp web page request",
     {"The name is resolved by DNS, a TCP connection is opened and secured by TLS, the request goes out over HTTP, and "
      "the browser parses the answer, fetches what it refers to, lays it out and paints it",
      "each round trip can be saved by caching or by reusing connections, at the price of staleness or held "
      "resources"}},
    {"frontend react javascript typescript ui component state css accessibility",
     {"I would keep state in one place close to where it is used, derive the rest, and keep components small enough to "
      "test",
      "fast interaction against bundle size and complexity"}},
    {"refactor refactoring legacy technical debt rewrite code maintain maintainable",
     {"I would put tests around the behaviour that counts, then change in small steps that can each be released, "
      "starting "
      "where changes hurt most",
      "steady improvement against the tempting and risky rewrite"}},
    {"machine learning model training data overfit overfitting neural classifier accuracy dataset",
     {"I would start with a simple baseline and an honest split of the data, look at the errors, and only then take a "
      "larger model",
      "fit on what was seen against results on what was not, and accuracy against cost and explainability"}},
    {"analytics dashboard metric metrics experiment ab statistics hypothesis",
     {"I would fix the question and the measure before looking at the data, check how it was gathered, and tell the "
      "uncertainty with the result",
      "an early answer against one that holds"}},
    {"object oriented inheritance composition functional pattern polymorphism solid",
     {"I would prefer small parts with one reason to change, composed rather than inherited, and add an abstraction at "
      "the second use, not before",
      "flexibility against directness"}},
    {"algorithm complexity hash tree list array sort search structure structures",
     {"I would pick the structure by the operations that dominate: hashing for look-up, trees for order, arrays for "
      "locality, and check the worst case as well as the usual one",
      "time against memory, and the average against the worst case"}},
    {"estimate estimation deadline priority prioritize prioritise roadmap requirement requirements",
     {"I would split the work until each piece is understood, name the unknowns, do the riskiest first and tell early "
      "when the plan moves",
      "scope against time against quality"}},
});

} // namespace

const TechnicalTopic* topicFor(const std::vector<std::string>& terms)
{
    const Entry* best = nullptr;
    long most = 0;
    for (const Entry& entry : entries) {
        const auto keywords = termsOf(entry.keywords);
        const auto count = std::ranges::count_if(
            keywords, [&](const std::string& keyword) { return std::ranges::find(terms, keyword) != terms.end(); });
        if (count > most) {
            most = count;
            best = &entry;
        }
    }
    return best == nullptr ? nullptr : &best->topic;
}

} // namespace quorvel::localbackend
