// What the page shows is in its address, behind the "#": /study/directory/file?tab=…&variable=…

export function readRoute() {
  const [path, words] = location.hash.replace(/^#\/?/, '').split('?');
  const [study, directory, file] = path.split('/').map(decodeURIComponent);
  const parameters = new URLSearchParams(words ?? '');
  return {place: file ? {study, directory, file} : null, tab: parameters.get('tab') ?? 'variables', parameters};
}

export function hashOf(place, parameters = {}) {
  const words = new URLSearchParams(Object.entries(parameters).filter(([, value]) => value));
  const path = [place.study, place.directory, place.file].map(encodeURIComponent).join('/');
  return `#/${path}${words.size ? `?${words}` : ''}`;
}

// Changes parameters of the address without a step for the button "back".
export function noteParameters(changes) {
  const {place, parameters} = readRoute();
  if (!place) return;
  for (const [key, value] of Object.entries(changes))
    if (value) parameters.set(key, value);
    else parameters.delete(key);
  history.replaceState(null, '', hashOf(place, Object.fromEntries(parameters)));
}
