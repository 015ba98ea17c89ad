#pragma once

#include "board/board.h"

/// Generators append the moves of the side to move to a list. Their order is part of the contract:
/// ties in move ordering and the matching of a move's text depend on it. Moves are pseudo-legal:
/// they may leave the own king in check.

/// All moves: pawns first (pushes, double pushes, captures, promotions, en passant), then each
/// piece type from knight to king with captures and quiet moves mixed by target, then castling.
void generateMoves(const Board& board, MoveList& list);

/// Captures and all promotions, quiet ones included.
void generateCaptures(const Board& board, MoveList& list);

/// Everything that `generateCaptures` leaves out.
void generateQuiets(const Board& board, MoveList& list);

/// The legal moves of `generateMoves`, in its order.
void generateLegalMoves(const Board& board, MoveList& list);

/// The first legal move of `generateMoves`, 0 if there is none.
Move firstLegalMove(const Board& board);

/// The pseudo-legal move that a parsed coordinate move means here, 0 if none. Without a promotion
/// letter a promotion is to a queen.
Move matchMove(const Board& board, Move parsed);
