// The faults: a button for each drill, and its result. Loaded when the list is opened.
import {act, announce, byId, make, setText} from '/tools.js';

async function play(button, result, name) {
  const buttons = byId('drills').querySelectorAll('button');
  for (const each of buttons) each.disabled = true;
  setText(result, 'Playing…');
  const answer = await act(button, {name}, '/drills');
  for (const each of buttons) each.disabled = false;
  button.focus();
  const [played] = answer ?? [];
  result.dataset.held = played?.held ?? '';
  setText(result, played ? `${played.held ? 'Held' : 'Broken'}: ${played.seen}` : '');
  if (played) announce(result.textContent);
}

function row({name, fault, promise}) {
  const item = make('li');
  const button = make('button', fault, {type: 'button', 'data-drill': name});
  const result = make('p', '', {class: 'result'});
  button.onclick = () => play(button, result, name);
  item.append(button, make('p', promise, {class: 'soft'}), result);
  return item;
}

try {
  const drills = await (await fetch('/drills')).json();
  byId('drills').replaceChildren(...drills.map(row));
} catch (error) {
  console.warn(error);
  byId('drills').replaceChildren(make('li', 'The host does not answer. Load the page again.', {class: 'error'}));
}
