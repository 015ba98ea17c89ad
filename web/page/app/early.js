// Runs before the page is drawn: the chosen theme, so that no other one flashes up.
(function () {
  "use strict";
  var root = document.documentElement;
  try {
    var theme = JSON.parse(localStorage.getItem("morvane.theme"));
    if (theme === "light" || theme === "dark") {
      root.dataset.theme = theme;
    }
  } catch (error) {
    // No storage, or not ours: the system's theme.
  }
  // The page shows itself when its texts stand in it; where its modules never come, as it is.
  setTimeout(function () { root.dataset.ready = ""; }, 4000);
})();
