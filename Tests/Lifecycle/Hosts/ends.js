'use strict';
// Ends in the way that its second argument names, while the worker thread calls it.
const [library, way, url, certificates] = process.argv.slice(2);
const awake = setInterval(() => {}, 1000);
let replies = 0;
require(library)(url, certificates, () => {
  if (++replies !== 1000) return;
  clearInterval(awake);
  if (way === 'exit') process.exit(7);
  if (way === 'signal') process.kill(process.pid, 'SIGTERM');
  process.exitCode = 7;
});
