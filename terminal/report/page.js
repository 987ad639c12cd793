// Search, filters, and details that are put in when they are opened. Without it the page shows everything else.
(() => {
  const meters = [...document.querySelectorAll('#meters > details')];
  const search = document.getElementById('search');
  const buttons = [...document.querySelectorAll('[data-filter]')];
  const mostPrinted = 300;
  let texts = null;
  let filter = '';
  let opened = [];  // for the printer

  // Each private character stands for a phrase.
  const spelled = text => text.replace(/[\uE000-\uF8FF]/g, character => phrases[character.charCodeAt(0) - 0xE000]);
  const fill = meter => {
    const inside = meter.lastElementChild;
    const kept = inside.firstChild;
    if (kept && kept.nodeType === Node.COMMENT_NODE) inside.innerHTML = spelled(kept.data);
  };
  const show = () => {
    texts = texts || meters.map(meter => meter.firstElementChild.textContent.toLowerCase());
    const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    meters.forEach((meter, i) => {
      const fits = (!filter || meter.classList.contains(filter)) && words.every(word => texts[i].includes(word));
      meter.hidden = !fits;
      shown += fits ? 1 : 0;
    });
    document.getElementById('shown').textContent = shown === meters.length ? '' : shown + ' of ' + meters.length;
  };
  const open = () => {
    const meter = /^#m\d+$/.test(location.hash) && document.getElementById(location.hash.slice(1));
    if (!meter) return;
    fill(meter);
    meter.hidden = false;
    meter.open = true;
    meter.scrollIntoView();
  };

  document.querySelector('.tools').hidden = false;
  document.getElementById('meters').addEventListener('toggle', event => fill(event.target), true);
  search.addEventListener('input', show);
  buttons.forEach(button => button.addEventListener('click', () => {
    buttons.forEach(other => other.setAttribute('aria-pressed', other === button));
    filter = button.dataset.filter;
    show();
  }));
  addEventListener('hashchange', open);
  addEventListener('beforeprint', () => {
    const wanted = meters.filter(meter => !meter.hidden);
    if (wanted.length > mostPrinted) return;
    opened = wanted.filter(meter => !meter.open);
    opened.forEach(meter => { fill(meter); meter.open = true; });
  });
  addEventListener('afterprint', () => opened.forEach(meter => { meter.open = false; }));
  open();
})();
