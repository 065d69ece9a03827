#include "Tools/vlanctl/Completion.h"

#include "Common/Src/RavUtf8.h"
#include "Tools/vlanctl/Characters.h"
#include "Tools/vlanctl/Guidance.h"
#include "Tools/vlanctl/Verbs.h"
#include "Tools/vlanctl/VlanFields.h"

namespace
{
constexpr size_t MOST_PLACES = 100; // that one word of several counts for

std::vector<std::string> ChoicesOf(const std::string& kind)
{
    std::vector<std::string> choices;
    for (size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1)
    {
        end = kind.find('|', begin);
        choices.push_back(kind.substr(begin, end == std::string::npos ? end : end - begin));
    }
    return choices;
}

// What stands in the place of a value.
void AddValues(const std::string& kind, Completion& completion)
{
    completion.kind = kind;
    if (kind.find('|') != std::string::npos)
        completion.words = ChoicesOf(kind);
    else if (kind == COLUMN_VALUE)
        completion.words = VlanFields();
}

// The words of a verb that are no options; the last one stands for all that come after it.
std::vector<std::string> PlacesOf(const CLI::App& verb)
{
    std::vector<std::string> places;
    for (const CLI::Option* const option :
         verb.get_options([](const CLI::Option* one) { return one->get_positional(); }))
        places.insert(places.end(), option->get_items_expected_max() > 1 ? MOST_PLACES : 1, option->get_name(true));
    return places;
}

// What a verb's own words are to be: those before the last one decide.
class CReader
{
  public:
    CReader(const CLI::App& verb, Completion& completion)
        : m_verb(verb), m_places(PlacesOf(verb)), m_completion(completion)
    {
    }

    void Pass(const std::string& word)
    {
        if (m_taking != nullptr)
            m_taking = nullptr;
        else if (const CLI::Option* const option = OptionOf(word))
            m_taking = TakesNext(*option, word) ? option : nullptr;
        else
        {
            if (Place() == VLAN_VALUE)
                m_completion.vlan = word;
            ++m_passed;
        }
    }

    void End(const std::string& word)
    {
        m_completion.typed = word;
        const size_t equals = word.find('=');
        const CLI::Option* const option = OptionOf(word);
        if (m_taking != nullptr)
            AddValues(m_taking->get_type_name(), m_completion);
        else if (word.starts_with("--") && option != nullptr && equals != std::string::npos)
        {
            m_completion.before = word.substr(0, equals + 1);
            m_completion.typed = word.substr(equals + 1);
            AddValues(option->get_type_name(), m_completion);
        }
        else if (word.starts_with('-'))
            m_completion.words = OptionsOf(m_verb);
        else
            AddValues(Place(), m_completion);
    }

  private:
    const CLI::Option* OptionOf(const std::string& word) const
    {
        return word.starts_with('-') && word.size() > 1 ? FindOption(m_verb, word) : nullptr;
    }
    std::string Place() const { return m_passed < m_places.size() ? m_places[m_passed] : ""; }

    const CLI::App& m_verb;
    const std::vector<std::string> m_places;
    Completion& m_completion;
    const CLI::Option* m_taking = nullptr; // the option whose value comes next
    size_t m_passed = 0;
};

bool GoesOnFrom(const std::string& word, const std::string& typed)
{
    const CRavString wide = FromUtf8(word);
    const CRavString begin = FromUtf8(typed);
    return wide.size() >= begin.size() && CRavString(wide.substr(0, begin.size()).c_str()).CompareI(begin);
}
} // namespace

std::vector<std::string> WordsOfLine(const std::string& line)
{
    std::vector<std::string> words(1);
    char quote = 0;
    bool isWord = false; // whether something of the last word has come, be it an empty pair of quotes
    for (size_t place = 0; place < line.size(); ++place)
    {
        const char character = line[place];
        const bool isEscape = character == '\\' && quote != '\'' && place + 1 < line.size() &&
                              (quote == 0 || line[place + 1] == '"' || line[place + 1] == '\\');
        if (isEscape)
            words.back() += line[++place];
        else if (quote != 0 ? character == quote : character == '"' || character == '\'')
            quote = quote != 0 ? '\0' : character;
        else if (quote == 0 && (character == ' ' || character == '\t'))
        {
            if (isWord)
                words.emplace_back();
            isWord = false;
            continue;
        }
        else
            words.back() += character;
        isWord = true;
    }
    return words;
}

Completion CompletionOf(const CLI::App& app, const std::vector<std::string>& words)
{
    Completion completion;
    if (words.size() < 2)
        return completion;
    completion.typed = words.back();
    completion.words = VerbsOf(app);
    if (words.size() == 2)
        return completion;
    if (words[1] == "help")
        return words.size() == 3 ? completion : Completion();
    completion.words.clear();
    const auto verbs = app.get_subcommands([&](const CLI::App* verb) { return verb->check_name(words[1]); });
    if (verbs.empty())
        return completion;
    CReader reader(*verbs.front(), completion);
    for (size_t index = 2; index + 1 < words.size(); ++index)
        reader.Pass(words[index]);
    reader.End(words.back());
    return completion;
}

std::vector<std::string> Candidates(const Completion& completion, const std::vector<std::string>& words)
{
    std::vector<std::string> candidates;
    for (const std::string& word : words)
    {
        if (GoesOnFrom(word, completion.typed) && Visible(word) == word && IsText(word))
            candidates.push_back(completion.before + word);
    }
    return candidates;
}
