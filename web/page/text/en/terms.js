// The terms of the evaluation and their features: names, and what they mean.
export default {
  "term.material": "Material and placement",
  "term.material.text": "What the pieces are worth, and how well each stands on its square. Kings are "
    + "counted apart.",
  "term.material.pawn": "Pawns",
  "term.material.pawn.text": "Each pawn's worth. Pawns count more in the end game.",
  "term.material.knight": "Knights",
  "term.material.knight.text": "Each knight's worth.",
  "term.material.bishop": "Bishops",
  "term.material.bishop.text": "Each bishop's worth. A pair has a bonus of its own.",
  "term.material.rook": "Rooks",
  "term.material.rook.text": "Each rook's worth.",
  "term.material.queen": "Queens",
  "term.material.queen.text": "Each queen's worth.",
  "term.material.pawnPlacement": "Where pawns stand",
  "term.material.pawnPlacement.text": "A number for every square, one for the middle game and one for the "
    + "end game, learned from the engine's own games. A pawn near promotion gains most.",
  "term.material.knightPlacement": "Where knights stand",
  "term.material.knightPlacement.text": "A number for every square, learned from the engine's own games. "
    + "Knights belong in the centre, not on the edge.",
  "term.material.bishopPlacement": "Where bishops stand",
  "term.material.bishopPlacement.text": "A number for every square, learned from the engine's own games.",
  "term.material.rookPlacement": "Where rooks stand",
  "term.material.rookPlacement.text": "A number for every square, learned from the engine's own games. "
    + "Rooks gain on the far ranks.",
  "term.material.queenPlacement": "Where queens stand",
  "term.material.queenPlacement.text": "A number for every square, learned from the engine's own games.",

  "term.king": "Kings",
  "term.king.text": "Where the kings stand: at home in the middle game, in the centre in the end game.",
  "term.king.kingPlacement": "Where the king stands",
  "term.king.kingPlacement.text": "A number for every square, one for the middle game and one for the end "
    + "game, learned from the engine's own games.",
  "term.king.kingProximity": "Driving the king",
  "term.king.kingProximity.text": "End game only. A side that is ahead in pieces drives the other king to "
    + "the edge and brings its own near; with bishop and knight against the bare king, to a corner of the "
    + "bishop's colour.",

  "term.bishopPair": "Bishop pair",
  "term.bishopPair.text": "A bonus for a side with two bishops or more, the same in both phases.",
  "term.bishopPair.bishopPair": "Two bishops",
  "term.bishopPair.bishopPair.text": "Together they cover both colours of squares.",

  "term.mobility": "Mobility",
  "term.mobility.text": "The squares that a piece reaches, without those that an own piece occupies or an "
    + "enemy pawn attacks. Few cost, many gain. A pinned piece counts only the squares on the line of the "
    + "pin.",
  "term.mobility.knightMobility": "Knights' squares",
  "term.mobility.knightMobility.text": "Middle game only.",
  "term.mobility.bishopMobility": "Bishops' squares",
  "term.mobility.bishopMobility.text": "In both phases, more in the end game.",
  "term.mobility.rookMobility": "Rooks' squares",
  "term.mobility.rookMobility.text": "In both phases.",
  "term.mobility.queenMobility": "Queens' squares",
  "term.mobility.queenMobility.text": "End game only.",

  "term.kingSafety": "King safety",
  "term.kingSafety.text": "Middle game only: the pawns in front of the king, and what the enemy attacks "
    + "round him.",
  "term.kingSafety.shelter": "Shelter",
  "term.kingSafety.shelter.text": "A bonus for each file, the king's own and its neighbours, with a pawn "
    + "of his on the two ranks in front of him. Kings on the d, e and f files have no shelter to count.",
  "term.kingSafety.openFiles": "Open files at the king",
  "term.kingSafety.openFiles.text": "A cost for each file, the king's own and its neighbours, without any "
    + "pawn of his. Not for kings on the d, e and f files.",
  "term.kingSafety.attackUnits": "Attacks near the king",
  "term.kingSafety.attackUnits.text": "A piece that attacks the king or a square next to him counts two, "
    + "one that only attacks the wider zone in front counts one. The danger grows much faster than the "
    + "count.",
  "term.kingSafety.attackWeight": "Weight of the attackers",
  "term.kingSafety.attackWeight.text": "The same attackers once more by what they are: queens weigh most, "
    + "then rooks, bishops and knights; half of it for those that only attack the wider zone.",

  "term.rookFiles": "Rooks on files",
  "term.rookFiles.text": "Rooks on files without a pawn of their own side.",
  "term.rookFiles.rookOpen": "Open files",
  "term.rookFiles.rookOpen.text": "No pawn at all on the rook's file: a bonus for the middle game.",
  "term.rookFiles.rookSemiOpen": "Semi-open files",
  "term.rookFiles.rookSemiOpen.text": "Only enemy pawns on the rook's file: a bonus in both phases.",

  "term.pawns": "Pawn structure",
  "term.pawns.text": "How the pawns stand to each other: weak ones cost, supported and passed ones gain.",
  "term.pawns.isolated": "Isolated pawns",
  "term.pawns.isolated.text": "No own pawn on either neighbouring file: a cost.",
  "term.pawns.doubled": "Doubled pawns",
  "term.pawns.doubled.text": "Each pawn beyond the first on its file: a cost.",
  "term.pawns.connected": "Connected pawns",
  "term.pawns.connected.text": "An own pawn beside it, or one that defends it: a bonus.",
  "term.pawns.passed": "Passed pawns",
  "term.pawns.passed.text": "No enemy pawn ahead on its own or a neighbouring file. The number depends on "
    + "the rank; most of a far passer's worth lies in its placement and its way to promotion.",
  "term.pawns.candidate": "Candidates",
  "term.pawns.candidate.text": "Pawns that may become passed: no enemy pawn ahead on the own file, and on "
    + "neither neighbouring file more enemy pawns ahead than own pawns. A small bonus.",
  "term.pawns.passers": "Passed pawns on their way",
  "term.pawns.passers.text": "Passed pawns from the fourth rank on: a free way to promotion and a defended "
    + "next step gain, in the end game also a near own king and a far enemy king. Both sides' bonus is "
    + "one number.",
};
