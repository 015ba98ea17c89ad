#include "tools/explainjson.h"

#include "eval/explain.h"
#include "eval/names.h"

#include <string_view>
#include <utility>

namespace {

constexpr std::string_view kSideKeys[kColors] = {"white", "black"};

/// Text of JSON that grows from left to right; commas come by themselves. No string needs escapes.
class Json {
  public:
    void open(char bracket) { text_ += bracket; }

    void open(std::string_view key, char bracket) {
        addKey(key);
        open(bracket);
    }

    void close(char bracket) { text_ += bracket; }

    /// The start of an element of an array.
    void next(char bracket) {
        separate();
        open(bracket);
    }

    void add(std::string_view key, int value) {
        addKey(key);
        text_ += std::to_string(value);
    }

    void add(std::string_view key, std::string_view value) {
        addKey(key);
        addQuoted(value);
    }

    void add(std::string_view key, Bitboard squares) {
        open(key, '[');
        while (squares) {
            separate();
            text_ += '"';
            appendSquare(text_, popLowest(squares));
            text_ += '"';
        }
        close(']');
    }

    void add(ScorePair pair) {
        add("mg", pair.mg);
        add("eg", pair.eg);
    }

    std::string take() { return std::move(text_); }

  private:
    void separate() {
        if (!text_.empty() && text_.back() != '{' && text_.back() != '[')
            text_ += ',';
    }

    void addQuoted(std::string_view value) {
        text_ += '"';
        text_ += value;
        text_ += '"';
    }

    void addKey(std::string_view key) {
        separate();
        addQuoted(key);
        text_ += ':';
    }

    std::string text_;
};

void addFeature(Json& json, const Eval::AspectName& name, const Eval::AspectShare& share) {
    json.next('{');
    json.add("name", name.name);
    json.add(share.value);
    if (name.bySide)
        for (const Color c : {White, Black}) {
            json.open(kSideKeys[c], '{');
            json.add(share.sides[c].value);
            json.add("count", share.sides[c].count);
            json.add("squares", share.sides[c].squares);
            json.close('}');
        }
    json.add("squares", share.squares);
    json.close('}');
}

void addTerm(Json& json, const Eval::Explanation& e, int index) {
    const auto term = static_cast<Eval::Term>(index);
    json.next('{');
    json.add("name", Eval::kTermNames[index].name);
    json.add("label", Eval::kTermNames[index].label);
    json.add(e.terms[index].value);
    if (Eval::isBySide(term))
        for (const Color c : {White, Black}) {
            json.open(kSideKeys[c], '{');
            json.add(e.terms[index].sides[c]);
            json.close('}');
        }
    json.open("features", '[');
    for (int aspect = 0; aspect < Eval::kAspectCount; ++aspect)
        if (Eval::kAspectNames[aspect].term == term)
            addFeature(json, Eval::kAspectNames[aspect], e.aspects[aspect]);
    json.close(']');
    json.close('}');
}

} // namespace

std::string explanationJson(const Board& board) {
    const Eval::Explanation e = Eval::explain(board);
    Json json;
    json.open('{');
    json.add("value", e.value);
    json.add("white", e.white);
    json.add("blended", e.blended);
    json.open("total", '{');
    json.add(e.total);
    json.close('}');
    json.add("phase", e.phase);
    json.add("scale", e.scale);
    json.open("pinned", '{');
    for (const Color c : {White, Black})
        json.add(kSideKeys[c], e.pinned[c]);
    json.close('}');
    json.open("terms", '[');
    for (int term = 0; term < Eval::kTermCount; ++term)
        addTerm(json, e, term);
    json.close(']');
    json.close('}');
    return json.take();
}
