#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"code block", "\n```\n"}, {"end block", "\n```\n"}, {"to do", "// TODO: "}, {"fix me", "// FIXME: "},
    {"note", "// NOTE: "},     {"hack", "// HACK: "},    {"returns", " -> "},    {"arrow", " -> "},
};

constexpr std::string_view terms[] = {
    "API",        "REST",       "GraphQL", "SQL",   "JSON",  "OAuth",  "JWT",    "SDK",
    "CLI",        "PostgreSQL", "MongoDB", "Redis", "Kafka", "nginx",  "Docker", "Kubernetes",
    "TypeScript", "JavaScript", "Python",  "Swift", "Rust",  "GitHub", "GitLab", "localhost",
    "webpack",    "npm",        "yarn",    "pip",   "brew",
};

} // namespace

constinit const ProfessionProfile developerProfile{
    .hint = "This is a software developer. Preserve technical terms: API, REST, GraphQL, SQL, JSON, HTML, CSS, "
            "JavaScript, TypeScript, Python, Swift, Rust, Docker, Kubernetes, Git, CI/CD, AWS, GCP, Azure, npm, pip, "
            "brew, localhost, endpoint, middleware, webhook, OAuth, JWT, SDK, CLI, IDE, VSCode, Xcode, GitHub, "
            "PostgreSQL, MongoDB, Redis, Kafka, nginx.",
    .rewriteAddendum =
        "The user is a software developer. Preserve all technical terms, variable names, function names, CLI commands, "
        "file paths, and programming keywords exactly as spoken. Convert spoken operators: 'dot' → '.', 'equals' → "
        "'=', 'arrow' → '->', 'double colon' → '::', 'slash' → '/'. Keep technical jargon intact — never simplify "
        "framework names, library names, or acronyms. Format commit messages concisely. Format code comments with // "
        "prefix when appropriate. IMPORTANT: Preserve casing conventions — camelCase, snake_case, PascalCase, "
        "SCREAMING_SNAKE_CASE.",
    .voiceCommands = commands,
    .sample = "Refactor the authentication middleware to handle JWT token refresh edge cases",
    .featureCards = {{
        {"Code stays code", "Names, paths and flags are kept, camelCase and snake_case too. “dot” and “equals” become "
                            "signs where you mean code."},
        {"Comments by voice",
         "Say “to do”, “fix me” or “hack” and the comment is started: // TODO:, // FIXME:, // HACK:."},
        {"It knows your stack", "Kubernetes, PostgreSQL, OAuth, nginx and more than twenty others from the start. "
                                "Names you correct by voice join them."},
    }},
    .tips = {{
        {"At home in the terminal",
         "There it adds no capitals and no full stops, and “get status” comes out as git status."},
        {"Fence your code", "Say “code block” to open a fence and “end block” to close it. “arrow” writes ->."},
        {"Teach it your project", "When your last word is a misheard name, say “correct that to Kestrel” within five "
                                  "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
