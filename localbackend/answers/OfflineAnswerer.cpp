#include "answers/OfflineAnswerer.h"

#include "answers/IntentRules.h"
#include "answers/Phrasing.h"
#include "answers/SentenceIndex.h"
#include "answers/Sentences.h"
#include "answers/TechnicalTopics.h"
#include "support/Text.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace quorvel::localbackend {

namespace {

using Hits = std::vector<SentenceIndex::Hit>;

constexpr double guidanceConfidence = 0.35; ///< a fitting shape without evidence
constexpr double weakestEvidence = 0.2;     ///< share of the question that a sentence has to meet to count

std::string sentence(std::string text)
{
    text = upperStart(trimmed(text));
    if (!text.empty() && !text.ends_with('.') && !text.ends_with('!') && !text.ends_with('?'))
        text += '.';
    return text;
}

double confidenceFrom(double coverage)
{
    constexpr double least = 0.45;
    constexpr double range = 0.5;
    return least + range * std::clamp(coverage, 0.0, 1.0);
}

class OfflineBriefing : public BriefedAnswerer
{
public:
    explicit OfflineBriefing(MeetingContext context)
        : m_mode(context.sessionMode)
        , m_resume(sentencesOf(context.resumeSummary))
        , m_job(sentencesOf(context.jobDescription))
        , m_keyterms(std::move(context.keyterms))
        , m_role(trimmed(context.userRole))
        , m_brief(isBrief(context.tone))
    {
    }

    Suggestion answer(std::string_view utterance, std::string_view earlier) const override
    {
        Intent intent = intentOf(utterance);
        std::string question{utterance};
        // A pause splits a question: "tell me about a time" ... "when you disagreed with your manager".
        if (!earlier.empty() && intent == Intent::Unknown) {
            question = std::string(earlier) + " " + question;
            intent = intentOf(question) == Intent::Question ? Intent::Question : Intent::Unknown;
        }
        if (intent == Intent::Unknown && soundsLikeAQuestion(question))
            intent = Intent::Question;
        switch (intent) {
        case Intent::SmallTalk:
            return smallTalk(question);
        case Intent::Clarification:
            return clarification(std::string(earlier) + " " + question);
        case Intent::Objection:
            return objection(question);
        case Intent::Question:
            return m_mode == SessionMode::HR || questionKindOf(question) != QuestionKind::General ? personal(question)
                                                                                                  : technical(question);
        case Intent::Unknown:
            break;
        }
        return {};
    }

private:
    struct Evidence
    {
        std::size_t line = 0;
        double coverage = 0;
    };

    static bool isBrief(std::string_view tone)
    {
        const auto words = wordsOf(tone);
        return std::ranges::none_of(words, [](const std::string& word) {
            return word == "detailed" || word == "thorough" || word == "elaborate";
        });
    }

    /// The first words of a question are misheard the most; one that speaks to the user of what the resume or the
    /// technical topics know is taken for a question without them.
    bool soundsLikeAQuestion(const std::string& utterance) const
    {
        constexpr std::size_t leastWords = 6;
        const auto words = wordsOf(utterance);
        const bool addressed =
            std::ranges::any_of(words, [](const auto& word) { return word == "you" || word == "your"; });
        return words.size() >= leastWords && addressed &&
               (find(utterance) || (m_mode == SessionMode::Technical && topicFor(termsOf(utterance)) != nullptr));
    }

    static Suggestion smallTalk(std::string_view utterance)
    {
        if (!wantsReply(utterance))
            return {.intent = Intent::SmallTalk};
        const std::string text = lowerCased(utterance);
        std::string reply = "Thank you, glad to be here.";
        if (text.contains("hear me"))
            reply = "Yes, I can hear you well.";
        else if (text.contains("meet"))
            reply = "Nice to meet you too.";
        else if (text.contains("have a"))
            reply = "Thank you, the same to you.";
        else if (text.contains("how"))
            reply = "I'm well, thank you. How are you?";
        return {.shouldRespond = true, .text = reply, .confidence = 0.6, .intent = Intent::SmallTalk};
    }

    Suggestion clarification(const std::string& asked) const
    {
        const auto evidence = find(asked);
        std::string text = "Let me put it more concretely. ";
        text += evidence ? sentence(spoken(line(*evidence)))
                         : std::string("Say the point again in one sentence, then give one case of your own.");
        return {.shouldRespond = true,
                .text = text,
                .confidence = evidence ? confidenceFrom(evidence->coverage) : guidanceConfidence,
                .intent = Intent::Clarification};
    }

    Suggestion objection(const std::string& utterance) const
    {
        const auto evidence = find(utterance);
        std::string text = "I understand the concern. ";
        if (evidence)
            text += sentence(spoken(line(*evidence)));
        else
            text += "Ask what lies behind it, agree with what is true in it, and say how you would lower the risk.";
        return {.shouldRespond = true,
                .text = text,
                .confidence = evidence ? confidenceFrom(evidence->coverage) : guidanceConfidence,
                .intent = Intent::Objection};
    }

    Suggestion technical(const std::string& question) const
    {
        const auto terms = termsOf(question);
        const TechnicalTopic* topic = topicFor(terms);
        const auto evidence = find(question);
        if (topic == nullptr && !evidence)
            return {.intent = Intent::Question};
        std::string text;
        if (topic != nullptr) {
            text += "Reasoning: " + sentence(std::string(topic->reasoning));
            text += " Trade-off: " + sentence(std::string(topic->tradeOff));
            text += " ";
        }
        text += "Example: ";
        text += evidence ? sentence(spoken(line(*evidence)))
                         : std::string("Give a case of your own; the resume names none on this.");
        double confidence = guidanceConfidence;
        if (evidence)
            confidence = confidenceFrom(evidence->coverage);
        else if (topic != nullptr)
            confidence = 0.5;
        return {.shouldRespond = true, .text = text, .confidence = confidence, .intent = Intent::Question};
    }

    Suggestion personal(const std::string& question) const
    {
        std::string text;
        double confidence = guidanceConfidence;
        switch (questionKindOf(question)) {
        case QuestionKind::Introduction:
            text = introduction();
            confidence = m_resume.sentences().empty() ? guidanceConfidence : 0.8;
            break;
        case QuestionKind::Motivation:
            text = motivation();
            confidence = m_job.sentences().empty() ? guidanceConfidence : 0.7;
            break;
        case QuestionKind::Future:
            text = posting("I want to grow in what your posting describes: ",
                           "Say which part of the role you want to grow in.") +
                   " Say in one sentence what you want to have learnt by then.";
            break;
        case QuestionKind::Leaving:
            text = "Speak of what draws you, not of what you leave. " +
                   posting("Your posting is what I look for: ", "Name what the new role offers.");
            break;
        case QuestionKind::Salary:
            text = "Ask for the range of the position first, then name yours. What matters to me is the whole offer "
                   "and the work itself.";
            break;
        case QuestionKind::OwnQuestions:
            text = ownQuestions();
            confidence = 0.6;
            break;
        case QuestionKind::Weakness:
            text = "Name a real weakness of your own that is not at the heart of the role, and what you do about it.";
            break;
        case QuestionKind::Failure:
            text = "Take a failure of your own that ended with something learnt: what you tried, what went wrong, what "
                   "you "
                   "changed since.";
            break;
        case QuestionKind::Strength: {
            auto shown = story(question, bestAchievement());
            shown.text = "Name the strength in a word, then show it. " + shown.text;
            return shown;
        }
        case QuestionKind::Experience:
            if (const auto evidence = find(question))
                return story(question, evidence);
            text =
                "The resume holds nothing on this: say so, name what comes closest, and how you would learn the rest.";
            break;
        case QuestionKind::Project: {
            const auto evidence = find(question);
            return story(question, evidence ? evidence : bestAchievement());
        }
        case QuestionKind::Situation:
        case QuestionKind::General:
            return story(question, find(question));
        }
        return {.shouldRespond = true, .text = text, .confidence = confidence, .intent = Intent::Question};
    }

    /// Situation, action and result from one line of the resume and the position above it.
    Suggestion story(const std::string& question, std::optional<Evidence> evidence) const
    {
        if (!evidence && questionKindOf(question) == QuestionKind::General)
            return {.intent = Intent::Question};
        if (!evidence) {
            return {.shouldRespond = true,
                    .text =
                        "Situation: choose a case of your own; the resume holds none on this. Action: say what you did "
                        "yourself. Result: say what came of it.",
                    .confidence = guidanceConfidence,
                    .intent = Intent::Question};
        }
        const auto parts = splitAchievement(line(*evidence));
        const auto position = positionAbove(evidence->line);
        std::string text = "Situation: " + sentence(position ? *position : "say briefly where that was");
        text += " Action: " + sentence(spoken(parts.action));
        text += " Result: " + sentence(parts.result.empty() ? "say what came of it" : parts.result);
        if (!m_brief) {
            if (const auto second = find(question, evidence->line))
                text += " Besides, " + sentence(spoken(line(*second)));
        }
        return {.shouldRespond = true,
                .text = text,
                .confidence = confidenceFrom(evidence->coverage),
                .intent = Intent::Question};
    }

    std::string introduction() const
    {
        const auto& lines = m_resume.sentences();
        if (lines.empty())
            return "Say what you do now, what led you here and why this role is next.";
        std::string text;
        if (!m_role.empty() && m_role != "Candidate")
            text = sentence("I am here as " + m_role) + " ";
        // Everybody in the room knows the name that a resume begins with.
        const std::size_t first = lines.size() > 1 && looksLikeAName(lines.front()) ? 1 : 0;
        text += sentence(lines[first]);
        if (const auto best = bestAchievement(); best && best->line != first)
            text += " " + sentence(spoken(line(*best)));
        return text + " " + posting("What brings me here is this in your posting: ", "Say why this role is next.");
    }

    std::string motivation() const
    {
        std::string text = posting("What draws me is this in your posting: ", "Name what draws you.");
        const auto& lines = m_resume.sentences();
        const auto hits = m_resume.find(termsOf(joined(m_job.sentences())));
        const auto done =
            std::ranges::find_if(hits, [&](const auto& hit) { return tellsAnAction(lines[hit.sentence]); });
        if (done != hits.end())
            text += " It fits what I have done: " + sentence(spoken(lines[done->sentence]));
        return text;
    }

    std::string ownQuestions() const
    {
        return "Yes. What would a good first half year in this position look like? How does the team decide what to do "
               "next? " +
               posting("And what does this in your posting look like in daily work: ",
                       "Ask about a point of the job description, too.");
    }

    /// The line of the job description that the resume bears on the most, quoted after the lead; without a description
    /// the advice stands alone.
    std::string posting(std::string_view lead, std::string_view advice) const
    {
        const auto& lines = m_job.sentences();
        if (lines.empty())
            return std::string(advice);
        const auto hits = m_job.find(termsOf(joined(m_resume.sentences()) + " " + joined(m_keyterms)));
        return std::string(lead) + sentence(lines[hits.empty() ? 0 : hits.front().sentence]);
    }

    /// An action with an outcome, preferably with a figure, that bears on the job.
    std::optional<Evidence> bestAchievement() const
    {
        const auto hits = m_resume.find(termsOf(joined(m_job.sentences()) + " " + joined(m_keyterms)));
        std::optional<Evidence> best;
        double bestScore = 0;
        const auto& lines = m_resume.sentences();
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (!tellsAnAction(lines[i]))
                continue;
            double score = splitAchievement(lines[i]).result.empty() ? 1 : 2;
            score += std::ranges::any_of(lines[i], [](char c) { return c >= '0' && c <= '9'; }) ? 1 : 0;
            const auto hit = std::ranges::find(hits, i, &SentenceIndex::Hit::sentence);
            if (hit != hits.end())
                score += 2 * hit->score / hits.front().score;
            if (score > bestScore) {
                bestScore = score;
                best = Evidence{.line = i, .coverage = 0.5};
            }
        }
        return best;
    }

    std::optional<Evidence> find(std::string_view question, std::optional<std::size_t> except = std::nullopt) const
    {
        const auto hits = m_resume.find(termsOf(question));
        std::optional<Evidence> best;
        double bestScore = 0;
        for (const auto& hit : hits) {
            // What somebody did tells more than a list of skills or a heading.
            const double score = hit.score * (tellsAnAction(m_resume.sentences()[hit.sentence]) ? 1.3 : 1.0);
            if (hit.sentence == except || score <= bestScore)
                continue;
            bestScore = score;
            best = Evidence{.line = hit.sentence, .coverage = hit.coverage};
        }
        return best && best->coverage >= weakestEvidence ? best : std::nullopt;
    }

    const std::string& line(const Evidence& evidence) const { return m_resume.sentences()[evidence.line]; }

    std::optional<std::string> positionAbove(std::size_t at) const
    {
        for (std::size_t i = at; i-- > 0;) {
            if (namesAPosition(m_resume.sentences()[i]))
                return m_resume.sentences()[i];
        }
        return std::nullopt;
    }

    static std::string joined(const std::vector<std::string>& lines)
    {
        std::string text;
        for (const auto& each : lines)
            text += each + "\n";
        return text;
    }

    SessionMode m_mode;
    SentenceIndex m_resume;
    SentenceIndex m_job;
    std::vector<std::string> m_keyterms;
    std::string m_role;
    bool m_brief;
};

} // namespace

std::shared_ptr<const BriefedAnswerer> OfflineAnswerer::brief(MeetingContext context) const
{
    return std::make_shared<OfflineBriefing>(std::move(context));
}

} // namespace quorvel::localbackend
