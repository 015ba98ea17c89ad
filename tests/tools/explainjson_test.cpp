#include "tools/explainjson.h"

#include "eval/explain.h"
#include "eval/names.h"
#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using Eval::Explanation;
using Notation::boardOf;

namespace {

/// A value of JSON as far as explanations use it. What is missing or malformed throws.
struct Value {
    enum class Kind { Number, Text, Array, Object };

    Kind kind = Kind::Number;
    int number = 0;
    std::string text;
    std::vector<Value> items;      // of an array or an object
    std::vector<std::string> keys; // of an object's items

    const Value& operator[](std::string_view key) const {
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (keys[i] == key)
                return items[i];
        throw std::runtime_error("no " + std::string(key));
    }

    std::string allKeys() const {
        std::string all;
        for (const std::string& key : keys)
            all += (all.empty() ? "" : " ") + key;
        return all;
    }
};

class Parser {
  public:
    static Value parse(std::string_view text) {
        Parser parser(text);
        Value value = parser.value();
        parser.expect(parser.rest_.empty());
        return value;
    }

  private:
    explicit Parser(std::string_view text) : rest_(text) {}

    void expect(bool condition) const {
        if (!condition)
            throw std::runtime_error("not JSON before: " + std::string(rest_.substr(0, 40)));
    }

    bool take(char c) {
        if (!rest_.starts_with(c))
            return false;
        rest_.remove_prefix(1);
        return true;
    }

    Value value() {
        Value value;
        if (rest_.starts_with('"')) {
            value.kind = Value::Kind::Text;
            value.text = string();
        } else if (take('[')) {
            value.kind = Value::Kind::Array;
            readItems(value, ']');
        } else if (take('{')) {
            value.kind = Value::Kind::Object;
            readItems(value, '}');
        } else {
            value.number = number();
        }
        return value;
    }

    void readItems(Value& value, char end) {
        if (take(end))
            return;
        do {
            if (value.kind == Value::Kind::Object) {
                const std::string key = string();
                expect(take(':'));
                for (const std::string& other : value.keys)
                    expect(other != key);
                value.keys.push_back(key);
            }
            value.items.push_back(this->value());
        } while (take(','));
        expect(take(end));
    }

    std::string string() {
        expect(take('"'));
        const std::size_t end = rest_.find('"');
        expect(end != std::string_view::npos);
        const std::string text(rest_.substr(0, end));
        for (const char c : text)
            expect(c >= ' ' && c != '\\' && c <= '~');
        rest_.remove_prefix(end + 1);
        return text;
    }

    int number() {
        const std::string sign = take('-') ? "-" : "";
        const std::size_t end = rest_.find_first_not_of("0123456789");
        const std::string digits(rest_.substr(0, end));
        expect(!digits.empty() && digits.size() < 9 && (digits[0] != '0' || digits.size() == 1));
        expect(sign.empty() || digits != "0");
        rest_.remove_prefix(digits.size());
        return std::stoi(sign + digits);
    }

    std::string_view rest_;
};

void expectPair(const Value& value, ScorePair pair) {
    ASSERT_EQ(value["mg"].number, pair.mg);
    ASSERT_EQ(value["eg"].number, pair.eg);
}

void expectSquares(const Value& value, Bitboard squares) {
    ASSERT_EQ(value.kind, Value::Kind::Array);
    Bitboard found = 0;
    for (const Value& square : value.items)
        found |= Notation::squaresAt(square.text);
    ASSERT_EQ(found, squares);
    ASSERT_EQ(static_cast<int>(value.items.size()), popcount(squares));
}

void expectFeature(const Value& value, const Eval::AspectName& name,
                   const Eval::AspectShare& share) {
    ASSERT_EQ(value["name"].text, name.name);
    ASSERT_EQ(value.allKeys(),
              name.bySide ? "name mg eg white black squares" : "name mg eg squares");
    expectPair(value, share.value);
    expectSquares(value["squares"], share.squares);
    if (!name.bySide)
        return;
    for (const Color c : {White, Black}) {
        const Value& side = value[c == White ? "white" : "black"];
        ASSERT_EQ(side.allKeys(), "mg eg count squares");
        expectPair(side, share.sides[c].value);
        ASSERT_EQ(side["count"].number, share.sides[c].count);
        expectSquares(side["squares"], share.sides[c].squares);
    }
}

/// A term whose features begin at this index; moves on to the next term's.
void expectTerm(const Value& value, const Explanation& e, int term, std::size_t& aspect) {
    ASSERT_EQ(value["name"].text, Eval::kTermNames[term].name);
    ASSERT_EQ(value["label"].text, Eval::kTermNames[term].label);
    expectPair(value, e.terms[term].value);
    const bool bySide = Eval::isBySide(static_cast<Eval::Term>(term));
    ASSERT_EQ(value.allKeys(),
              bySide ? "name label mg eg white black features" : "name label mg eg features");
    if (bySide) {
        expectPair(value["white"], e.terms[term].sides[White]);
        expectPair(value["black"], e.terms[term].sides[Black]);
    }
    for (const Value& feature : value["features"].items) {
        ASSERT_LT(aspect, std::size(Eval::kAspectNames));
        ASSERT_NO_FATAL_FAILURE(
            expectFeature(feature, Eval::kAspectNames[aspect], e.aspects[aspect]));
        ++aspect;
    }
}

/// The text, read back, is what the explanation says.
void expectSame(const Board& board) {
    SCOPED_TRACE(board.fen());
    const Explanation e = Eval::explain(board);
    const Value json = Parser::parse(explanationJson(board));
    ASSERT_EQ(json.allKeys(), "value white blended total phase scale pinned terms");
    ASSERT_EQ(json["value"].number, e.value);
    ASSERT_EQ(json["white"].number, e.white);
    ASSERT_EQ(json["blended"].number, e.blended);
    expectPair(json["total"], e.total);
    ASSERT_EQ(json["phase"].number, e.phase);
    ASSERT_EQ(json["scale"].number, e.scale);
    expectSquares(json["pinned"]["white"], e.pinned[White]);
    expectSquares(json["pinned"]["black"], e.pinned[Black]);

    const Value& terms = json["terms"];
    ASSERT_EQ(terms.items.size(), std::size_t{Eval::kTermCount});
    std::size_t aspect = 0;
    for (int term = 0; term < Eval::kTermCount; ++term)
        ASSERT_NO_FATAL_FAILURE(
            expectTerm(terms.items[static_cast<std::size_t>(term)], e, term, aspect));
    ASSERT_EQ(aspect, std::size(Eval::kAspectNames));
}

/// Pieces of the text that is expected.
std::string pairText(ScorePair pair) {
    return "\"mg\":" + std::to_string(pair.mg) + ",\"eg\":" + std::to_string(pair.eg);
}

std::string sideText(ScorePair pair, int count, const std::string& squares) {
    return "{" + pairText(pair) + ",\"count\":" + std::to_string(count) + ",\"squares\":[" +
           squares + "]}";
}

const std::string kNobody = sideText({0, 0}, 0, "");

/// A feature that only White has, or nobody.
std::string featureText(const std::string& name, ScorePair pair = {}, int count = 0,
                        const std::string& squares = "") {
    return "{\"name\":\"" + name + "\"," + pairText(pair) +
           ",\"white\":" + sideText(pair, count, squares) + ",\"black\":" + kNobody +
           ",\"squares\":[" + squares + "]}";
}

/// A term of which Black has nothing.
std::string termText(const std::string& name, const std::string& label, ScorePair pair,
                     const std::string& features) {
    return "{\"name\":\"" + name + "\",\"label\":\"" + label + "\"," + pairText(pair) +
           ",\"white\":{" + pairText(pair) + "},\"black\":{" + pairText({}) + "},\"features\":[" +
           features + "]}";
}

} // namespace

// A bishop that attacks nothing near the king, on a board without pawns. The cells that are fitted
// to games are taken from their tables.
TEST(ExplanationJson, IsExactlyThisForAPositionWorkedOutByHand) {
    using namespace EvalParams;
    const ScorePair placement = {kPSTMG[Bishop][56], kPSTMG[Bishop][56] + kPstEgDelta[Bishop][56]};
    const ScorePair white = {kPSTMG[King][60], kKingEG[60]}; // e1
    const ScorePair black = {-kPSTMG[King][59], -kKingEG[59]};
    const ScorePair kings = {white.mg + black.mg, white.eg + black.eg + (14 - 8) * 5 + 30};
    const ScorePair material = {374 + placement.mg, 359 + placement.eg};
    const ScorePair mobility = {-20 + 7 * 4, -35 + 7 * 7};
    const ScorePair total = {material.mg + kings.mg + mobility.mg,
                             material.eg + kings.eg + mobility.eg};
    const int blended = (total.mg + total.eg * 8 / 64 * 23) / 24;
    const std::string value = std::to_string(blended * 190 / 200);

    const std::string reached = R"("b2","c3","d4","e5","f6","g7","h8")";
    const std::string wanted =
        "{\"value\":" + std::to_string(-(blended * 190 / 200)) + ",\"white\":" + value +
        ",\"blended\":" + std::to_string(blended) + ",\"total\":{" + pairText(total) +
        R"(},"phase":1,"scale":8,"pinned":{"white":[],"black":[]},"terms":[)" +
        termText("material", "material+psqt", material,
                 featureText("pawn") + ',' + featureText("knight") + ',' +
                     featureText("bishop", {374, 359}, 1, "\"a1\"") + ',' + featureText("rook") +
                     ',' + featureText("queen") + ',' + featureText("pawnPlacement") + ',' +
                     featureText("knightPlacement") + ',' +
                     featureText("bishopPlacement", placement, 1, "\"a1\"") + ',' +
                     featureText("rookPlacement") + ',' + featureText("queenPlacement")) +
        R"(,{"name":"king","label":"king",)" + pairText(kings) +
        R"(,"features":[{"name":"kingPlacement",)" +
        pairText({white.mg + black.mg, white.eg + black.eg}) +
        ",\"white\":" + sideText(white, 1, "\"e1\"") +
        ",\"black\":" + sideText(black, 1, "\"d8\"") +
        R"(,"squares":["e1","d8"]},{"name":"kingProximity","mg":0,"eg":60,"squares":["e1","d8"]}]},)" +
        termText("bishopPair", "bishop pair", {}, featureText("bishopPair")) + ',' +
        termText("mobility", "mobility", mobility,
                 featureText("knightMobility") + ',' +
                     featureText("bishopMobility", mobility, 7, reached) + ',' +
                     featureText("rookMobility") + ',' + featureText("queenMobility")) +
        ',' +
        termText("kingSafety", "king safety", {},
                 featureText("shelter") + ',' + featureText("openFiles") + ',' +
                     featureText("attackUnits") + ',' + featureText("attackWeight")) +
        ',' +
        termText("rookFiles", "rooks (files)", {},
                 featureText("rookOpen") + ',' + featureText("rookSemiOpen")) +
        R"(,{"name":"pawns","label":"pawns","mg":0,"eg":0,"features":[)" + featureText("isolated") +
        ',' + featureText("doubled") + ',' + featureText("connected") + ',' +
        featureText("passed") + ',' + featureText("candidate") +
        R"(,{"name":"passers","mg":0,"eg":0,"squares":[]}]}]})";
    EXPECT_EQ(explanationJson(boardOf("3k4/8/8/8/8/8/8/B3K3 b - - 10 40")), wanted);
}

TEST(ExplanationJson, SaysWhatTheExplanationSaysOnTheSharedPositions) {
    for (const std::string& fen : Positions::readShared())
        ASSERT_NO_FATAL_FAILURE(expectSame(boardOf(fen)));
}

TEST(ExplanationJson, SaysWhatTheExplanationSaysInRandomGames) {
    std::uint64_t seed = 41;
    for (const std::string& fen : Positions::readOpenings()) {
        if (seed == 41 + scaled(20))
            break;
        Board board = boardOf(fen);
        RandomGame::play(board, seed++, 100, [](const Board& reached) {
            if (!testing::Test::HasFatalFailure())
                expectSame(reached);
        });
    }
}

TEST(ExplanationJson, IsOneLine) {
    const std::string text = explanationJson(boardOf(kStartFen));
    EXPECT_EQ(text.find_first_of("\r\n"), text.npos);
}
