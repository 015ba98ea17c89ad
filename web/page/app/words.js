// Moves and results in words, for screen readers and banners.

/** "White: knight to f3, check". */
export function moveInWords(move, texts) {
  const side = texts.t(`say.side.${move.color}`);
  let words = plainMove(move, side, texts);
  if (move.promotion) {
    words = texts.t("say.promotion", { move: words, piece: texts.t(`say.becomes.${move.promotion}`) });
  }
  if (move.san.endsWith("#")) {
    return texts.t("say.mate", { move: words });
  }
  return move.san.endsWith("+") ? texts.t("say.check", { move: words }) : words;
}

function plainMove(move, side, texts) {
  if (move.san.startsWith("O-O")) {
    return texts.t(move.san.startsWith("O-O-O") ? "say.castleLong" : "say.castleShort", { side });
  }
  const values = { side, piece: texts.t(`say.piece.${move.piece}`), to: move.to };
  return move.captured
    ? texts.t("say.capture", { ...values, captured: texts.t(`say.captured.${move.captured}`) })
    : texts.t("say.move", values);
}

/**
 * What a game's end says: {title, text}. `human` is the colour of the user, or null where nobody plays.
 * @param {{result: string, reason: string}} outcome
 */
export function outcomeInWords(outcome, human, texts) {
  if (outcome.result === "1/2-1/2") {
    const key = outcome.reason === "time" ? "drawTime" : outcome.reason;
    return { title: texts.t("play.over.draw"), text: texts.t(`play.over.${key}`) };
  }
  const winner = outcome.result === "1-0" ? "w" : "b";
  const who = texts.t(winner === "w" ? "play.over.white" : "play.over.black");
  const loser = texts.t(winner === "w" ? "say.side.b" : "say.side.w");
  const title = human === null ? who : texts.t(winner === human ? "play.over.win" : "play.over.loss");
  return { title, text: texts.t(`play.over.${outcome.reason}`, { who, loser }) };
}
