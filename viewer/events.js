// Follows the events of the server that gave the page, and comes back to them when they end: each goes, parsed, to the
// function of its name.

function follow(takers, onLoss) {
  const events = new EventSource('events');
  for (const [name, take] of Object.entries(takers)) {
    events.addEventListener(name, (event) => take(JSON.parse(event.data), events));
  }
  events.addEventListener('error', () => {
    onLoss();
    // Refused, such as one viewer too many.
    if (events.readyState === EventSource.CLOSED) setTimeout(() => follow(takers, onLoss), 2000);
  });
}
