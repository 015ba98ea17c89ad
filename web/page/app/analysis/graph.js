// The layout of a game's scores as a graph, White's side up. Numbers only; the view draws them.

import { clampedScore } from "./score.js";

/** Beyond so many centipawns the graph goes no further. */
export const GRAPH_LIMIT = 600;

/** Heights that have a line of their own, in centipawns. */
export const GRAPH_GRID = [-400, -200, 0, 200, 400];

/** The height of an amount of centipawns in a graph of this height: 0 at the top. */
export function graphY(centipawns, height) {
  return ((GRAPH_LIMIT - centipawns) / (2 * GRAPH_LIMIT)) * height;
}

/** The place of a ply among so many plies. */
export function graphX(ply, plies, width) {
  return plies === 0 ? 0 : (ply / plies) * width;
}

/** The points that are known: [{ply, x, y, score, isMate}]. `scores[ply]` is {score} or undefined. */
export function graphPoints(scores, plies, { width, height }) {
  const points = [];
  for (let ply = 0; ply <= plies; ++ply) {
    const score = scores[ply]?.score;
    if (score) {
      points.push({
        ply,
        x: graphX(ply, plies, width),
        y: graphY(clampedScore(score, GRAPH_LIMIT), height),
        score,
        isMate: score.mate !== undefined,
      });
    }
  }
  return points;
}

const fixed = (value) => String(Math.round(value * 100) / 100);

/** The points as the path of a line; a gap where a ply is unknown. */
export function linePath(points) {
  return points
    .map(({ ply, x, y }, i) => `${i > 0 && points[i - 1].ply === ply - 1 ? "L" : "M"}${fixed(x)} ${fixed(y)}`)
    .join("");
}

/** The area between the line and the bottom, White's share; one piece for each stretch of known plies. */
export function areaPath(points, height) {
  const down = (stretch) => `L${fixed(stretch.at(-1).x)} ${height}L${fixed(stretch[0].x)} ${height}Z`;
  return stretches(points).map((stretch) => linePath(stretch) + down(stretch)).join("");
}

function stretches(points) {
  const found = [];
  for (const point of points) {
    if (found.length > 0 && found.at(-1).at(-1).ply === point.ply - 1) {
      found.at(-1).push(point);
    } else {
      found.push([point]);
    }
  }
  return found;
}

/** The ply that a place in the graph belongs to. */
export function plyAt(x, plies, width) {
  return Math.max(0, Math.min(plies, Math.round((x / width) * plies)));
}
