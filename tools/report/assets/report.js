// The inspection report page: reads the data the tool embedded, and draws the first screen, the
// tables, the 3D deviation view and the charts. Every verdict, deviation and share of tolerance
// comes from the data as the library computed it; this script only shows them. Text from a results
// file reaches the page through textContent alone, never as markup.
(function () {
  'use strict';

  // ------------------------------------------------------------------------------------------
  // Small helpers

  function el(tag, options, children) {
    const node = document.createElement(tag);
    if (options) {
      if (options.cls) node.className = options.cls;
      if (options.text !== undefined && options.text !== null) node.textContent = String(options.text);
      if (options.title) node.title = options.title;
      if (options.id) node.id = options.id;
      if (options.attrs) for (const k of Object.keys(options.attrs)) node.setAttribute(k, options.attrs[k]);
    }
    if (children) for (const c of children) if (c) node.appendChild(c);
    return node;
  }

  function fixed(value, digits) {
    if (value === null || value === undefined) return '\u2013';
    if (value === Infinity) return '\u221e';
    if (value === -Infinity) return '-\u221e';
    if (Number.isNaN(value)) return 'NaN';
    let text = Number(value).toFixed(digits);
    if (/^-0\.?0*$/.test(text)) text = text.slice(1);
    return text;
  }
  function signed(value, digits) {
    const text = fixed(value, digits);
    return (typeof value === 'number' && value > 0 && !/^[0.]+$/.test(text)) ? '+' + text : text;
  }

  function decodeBase64(text) {
    const binary = atob(text);
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < binary.length; ++i) bytes[i] = binary.charCodeAt(i);
    return bytes.buffer;
  }

  const VERDICT_TEXT = { in: 'in', out: 'OUT', not_toleranced: 'not toleranced', unmeasured: 'unmeasured' };
  const POINT_VERDICT_TEXT = { in: 'within', out: 'OUTSIDE', not_toleranced: 'no limits', unmeasured: 'unmeasured' };
  const POINT_VERDICTS = ['not_toleranced', 'in', 'out', 'unmeasured'];  // the library's verdict codes

  // A diverging scale centred on zero: blue below, a light neutral at zero, red above.
  const COLD = [33, 102, 172], MID = [236, 236, 236], HOT = [178, 24, 43];
  function divergingColour(t) {  // t in [-1, 1]
    const s = Math.max(-1, Math.min(1, t));
    const a = s < 0 ? COLD : HOT, f = Math.abs(s);
    return [(MID[0] + (a[0] - MID[0]) * f) / 255, (MID[1] + (a[1] - MID[1]) * f) / 255, (MID[2] + (a[2] - MID[2]) * f) / 255];
  }
  function rampCss() {
    const stop = (c) => 'rgb(' + c.join(',') + ')';
    return 'linear-gradient(to right,' + stop(COLD) + ',' + stop(MID) + ',' + stop(HOT) + ')';
  }

  function section(title, id) {
    const s = el('section', { id: id });
    s.appendChild(el('h2', { text: title }));
    return s;
  }

  // A table whose header cells sort its body rows by a key per column; rows keep their order
  // otherwise. `columns`: [{title, cls, key(row) -> number|string|null}].
  function sortableTable(columns, rows, makeRow, id) {
    const table = el('table', { id: id });
    const thead = el('thead');
    const tr = el('tr');
    const tbody = el('tbody');
    let order = rows.map((r, i) => i);
    let sortColumn = -1, sortDirection = 1;
    const render = () => {
      tbody.textContent = '';
      const fragment = document.createDocumentFragment();
      for (const i of order) fragment.appendChild(makeRow(rows[i], i));
      tbody.appendChild(fragment);
    };
    columns.forEach((column, c) => {
      const th = el('th', { text: column.title, cls: (column.cls || '') + (column.key ? ' sortable' : '') });
      if (column.tip) th.title = column.tip;
      if (column.key) {
        th.addEventListener('click', () => {
          sortDirection = sortColumn === c ? -sortDirection : 1;
          sortColumn = c;
          for (const other of tr.children) other.classList.remove('sorted-asc', 'sorted-desc');
          th.classList.add(sortDirection > 0 ? 'sorted-asc' : 'sorted-desc');
          const keyed = rows.map((r, i) => [column.key(r), i]);
          keyed.sort((a, b) => {
            const x = a[0], y = b[0];
            if (x === y) return a[1] - b[1];
            if (x === null || x === undefined) return 1;   // empty cells last either way
            if (y === null || y === undefined) return -1;
            return (x < y ? -1 : 1) * sortDirection;
          });
          order = keyed.map((k) => k[1]);
          render();
        });
      }
      tr.appendChild(th);
    });
    thead.appendChild(tr);
    table.appendChild(thead);
    table.appendChild(tbody);
    render();
    return table;
  }

  function factList(pairs) {
    const dl = el('dl', { cls: 'facts' });
    for (const [name, value, id] of pairs) {
      if (value === null || value === undefined) continue;
      dl.appendChild(el('dt', { text: name }));
      dl.appendChild(el('dd', { text: value, id: id }));
    }
    return dl;
  }

  function dateText(iso) { return iso ? iso.replace('T', ' ').replace(/Z$/, ' UTC') : '\u2013'; }

  // ------------------------------------------------------------------------------------------
  // The report of one file

  function digitsOf(data) {
    const s = data.settings;
    return { linear: s.linear_digits, angular: s.angular_digits, unitless: s.unitless_digits };
  }
  function quantityDigits(digits, quantity) { return quantity === 'angle' ? digits.angular : digits.linear; }

  function decodePoints(points) {
    const n = points.count;
    const out = {
      count: n,
      position: n ? new Float64Array(decodeBase64(points.position)) : new Float64Array(0),
      deviation: n ? new Float64Array(decodeBase64(points.deviation)) : new Float64Array(0),
      verdict: n ? new Uint8Array(decodeBase64(points.verdict)) : new Uint8Array(0),
      limits: n ? new Float32Array(decodeBase64(points.limits)) : new Float32Array(0),
    };
    out.label = labelsOf(points.label_runs || []);
    return out;
  }

  // The label of point i, put together from the runs the tool sends: {p, n, c} stands for the
  // labels p + n, p + (n + 1), ... (c of them), {l: [...]} for labels given whole.
  function labelsOf(runs) {
    const starts = new Float64Array(runs.length);
    let at = 0;
    runs.forEach((run, k) => { starts[k] = at; at += run.l ? run.l.length : run.c; });
    return (i) => {
      let lo = 0, hi = runs.length - 1;
      while (lo < hi) {
        const mid = (lo + hi + 1) >> 1;
        if (starts[mid] <= i) lo = mid; else hi = mid - 1;
      }
      const run = runs[lo], k = i - starts[lo];
      return run.l ? run.l[k] : run.p + String(run.n + k);
    };
  }

  function firstScreen(data, digits) {
    const s = el('section', { id: 'summary' });
    const left = el('div');
    left.appendChild(el('h1', { text: 'Inspection report: ' + data.file.split(/[\\/]/).pop(), id: 'report-title' }));
    const sum = data.summary;
    const refs = data.references || {};
    left.appendChild(factList([
      ['File', data.file, 'fact-file'],
      ['Results file', data.results_file || '\u2013', 'fact-results-file'],
      ['File date', dateText(data.file_date)],
      ['Report date', dateText(data.report_date)],
      ['Extraction status', data.status.code + ' ' + data.status.name + ': ' + data.status.meaning, 'fact-status'],
      ['Units', 'read in ' + (data.units === 'in' ? 'inches' : 'millimetres') +
        '; lengths shown in mm, angles in degrees, positions in CAD coordinates'],
      ['Settings', data.settings.file ? data.settings.file + (data.settings.problem ? ' (' + data.settings.problem + '; defaults used)' : '') : 'defaults (no settings file given)'],
      ['Layout version', refs.results_file_version],
      ['CAD file', refs.cad_filename, 'fact-cad'],
      ['Settings file named', refs.settings_filename],
      ['CL data file', refs.cldata_filename],
      ['Document id', refs.document_id],
      ['Document version', refs.document_version],
      ['Model version', refs.model_version],
    ]));
    const verdict = el('div', { cls: 'verdict ' + (sum.passed ? 'pass' : 'fail'), id: 'verdict' }, [
      el('div', { cls: 'word', text: sum.passed ? 'PASS' : 'FAIL', id: 'verdict-word' }),
      el('div', { cls: 'counts', id: 'verdict-checks',
        text: 'Feature checks: ' + sum.checks_in + ' in, ' + sum.checks_out + ' out, ' + sum.checks_not_toleranced + ' not toleranced' }),
      el('div', { cls: 'counts', id: 'verdict-points',
        text: 'Points: ' + sum.points_within + ' within, ' + sum.points_outside + ' outside, ' + sum.points_unmeasured + ' unmeasured, ' +
          sum.points_not_toleranced + ' not toleranced' }),
      el('div', { cls: 'convention', id: 'verdict-convention',
        text: 'True position read as a ' + (sum.convention === 'radial' ? 'radial limit (offset \u2264 tolerance)' : 'diametral zone (2 \u00d7 offset \u2264 tolerance)') }),
    ]);
    const head = el('div', { cls: 'head' }, [left, verdict]);
    s.appendChild(head);
    const worst = el('div', { cls: 'worst' });
    if (sum.worst_check) {
      const w = sum.worst_check;
      const d = quantityDigits(digits, w.quantity);
      worst.appendChild(el('div', { text: 'Worst feature check: #' + w.feature + ' ' + w.identity + ', ' + w.label + ' deviation ' +
        withCompared(w, w.true_position ? fixed(w.deviation, d) : signed(w.deviation, d), d) + ' against ' +
        (w.true_position ? 'TP ' : '\u00b1') + fixed(w.tolerance, d) + ', ' + fixed(w.tolerance_used * 100, 0) + '% of its tolerance' }));
    }
    if (sum.worst_point) {
      const w = sum.worst_point;
      worst.appendChild(el('div', { text: 'Worst point: ' + w.label + ' (path #' + w.path + ') deviation ' +
        signed(w.deviation, digits.linear) + ' mm, ' + fixed(w.limit_used * 100, 0) + '% of its limit' }));
    }
    s.appendChild(worst);
    return s;
  }

  // A true-position offset under a diametral zone is a radius held against a diameter (a width
  // for a middle): the value actually compared is shown beside it.
  function withCompared(c, text, d) {
    if (c.compared === null || c.compared === undefined || c.compared === c.deviation) return text;
    return text + ' (as ' + (c.quantity === 'middle' ? 'width ' : 'diameter ') + fixed(c.compared, d) + ')';
  }

  function shareBar(used) {
    if (used === null || used === undefined) return null;
    const bar = el('span', { cls: 'share' + (used > 1 ? ' over' : ''), title: fixed(used * 100, 1) + '% of the tolerance' });
    const fill = el('span');
    fill.style.width = Math.min(100, Math.max(0, used * 100)) + '%';
    bar.appendChild(fill);
    return bar;
  }

  const SURFACE_POSITION = 'A surface\u2019s position is the plane\u2019s distance from the CAD origin along its nominal normal: ' +
    'it differs in value and sign from the POSN the file printed in work coordinates.';

  function featureSection(data, digits) {
    const s = section('Features', 'features');
    const rows = [];
    for (const f of data.features) {
      if (f.checks.length === 0) rows.push({ f: f, c: null, first: true });
      f.checks.forEach((c, i) => rows.push({ f: f, c: c, first: i === 0 }));
    }
    if (rows.length === 0) {
      s.appendChild(el('p', { cls: 'muted', text: 'This file holds no feature.' }));
      return s;
    }
    const onlyOut = el('input', { attrs: { type: 'checkbox', id: 'only-out' } });
    const outCount = rows.filter((r) => r.c && r.c.verdict === 'out').length;
    s.appendChild(el('div', { cls: 'toolbar no-print' }, [
      el('label', {}, [onlyOut, document.createTextNode(' Out of tolerance only (' + outCount + ')')]),
      el('span', { cls: 'muted', text: 'Click a column title to sort. Deviation = actual \u2212 nominal; offsets are distances from nominal. \u2020 ' + SURFACE_POSITION }),
    ]));
    const q = (r, k) => (r.c ? r.c[k] : null);
    const columns = [
      { title: '#', cls: 'num', key: (r) => r.f.number },
      { title: 'Kind', key: (r) => r.f.kind },
      { title: 'Toolpath', key: (r) => r.f.toolpath_sort },
      { title: 'Feature', key: (r) => r.f.identity },
      { title: 'Quantity', key: (r) => q(r, 'label') },
      { title: 'Nominal \u2020', cls: 'num', key: (r) => q(r, 'nominal'), tip: SURFACE_POSITION },
      { title: 'Actual \u2020', cls: 'num', key: (r) => q(r, 'actual'), tip: SURFACE_POSITION },
      { title: 'Deviation', cls: 'num', key: (r) => q(r, 'deviation') },
      { title: 'Tolerance', cls: 'num', key: (r) => q(r, 'tolerance') },
      { title: 'Verdict', key: (r) => (r.c ? ['out', 'in', 'not_toleranced', 'unmeasured'].indexOf(r.c.verdict) : null) },
      { title: 'Share of tolerance', key: (r) => q(r, 'tolerance_used') },
    ];
    const table = sortableTable(columns, rows, (r) => {
      const c = r.c;
      const d = c ? quantityDigits(digits, c.quantity) : digits.linear;
      const tr = el('tr', { cls: (c && c.verdict === 'out' ? 'out' : '') + (r.first ? ' feature-first' : '') });
      tr.dataset.verdict = c ? c.verdict : 'none';
      if (onlyOut.checked && !(c && c.verdict === 'out')) tr.classList.add('filtered-out');
      tr.appendChild(el('td', { cls: 'num', text: r.f.number }));
      tr.appendChild(el('td', { text: r.f.kind }));
      tr.appendChild(el('td', { text: r.f.toolpath }));
      tr.appendChild(el('td', { text: r.f.identity }));
      if (!c) {
        tr.appendChild(el('td', { text: 'no quantity', cls: 'muted', attrs: { colspan: '7' } }));
        return tr;
      }
      tr.appendChild(el('td', { text: c.label }));
      tr.appendChild(el('td', { cls: 'num', text: fixed(c.nominal, d) }));
      tr.appendChild(el('td', { cls: 'num', text: fixed(c.actual, d) }));
      tr.appendChild(el('td', { cls: 'num', text: withCompared(c, c.true_position ? fixed(c.deviation, d) : signed(c.deviation, d), d) }));
      tr.appendChild(el('td', { cls: 'num', text: c.tolerance === null ? '\u2013' : (c.true_position ? 'TP ' : '\u00b1') + fixed(c.tolerance, d) }));
      tr.appendChild(el('td', { cls: 'verdict-cell ' + c.verdict, text: VERDICT_TEXT[c.verdict] || c.verdict }));
      const share = el('td', { cls: 'num' });
      if (c.tolerance_used !== null) {
        share.appendChild(shareBar(c.tolerance_used));
        share.appendChild(el('span', { cls: 'share-text', text: c.tolerance_used === Infinity ? '\u221e' : fixed(c.tolerance_used * 100, 0) + '%' }));
      }
      tr.appendChild(share);
      return tr;
    }, 'feature-table');
    const applyFilter = () => {
      for (const tr of table.tBodies[0].rows) {
        tr.classList.toggle('filtered-out', onlyOut.checked && tr.dataset.verdict !== 'out');
        tr.style.display = tr.classList.contains('filtered-out') ? 'none' : '';
      }
    };
    onlyOut.addEventListener('change', applyFilter);
    table.addEventListener('click', () => setTimeout(applyFilter, 0));  // a sort redraws the rows
    s.appendChild(el('div', { cls: 'table-wrap' }, [table]));
    return s;
  }

  const POINT_PAGE = 500;

  function pointTable(data, pts, path, digits) {
    const table = el('table', { cls: 'point-table' });
    table.appendChild(el('thead', {}, [el('tr', {}, ['Label', 'X', 'Y', 'Z', 'Deviation', 'O', 'L', 'U', 'Verdict', 'Share of limit']
      .map((t, i) => el('th', { text: t, cls: i > 0 && i < 8 ? 'num' : '' })))]));
    const tbody = el('tbody');
    table.appendChild(tbody);
    let shown = 0;
    const more = el('button', { cls: 'more no-print', attrs: { type: 'button' } });
    const addPage = () => {
      const end = Math.min(path.count, shown + POINT_PAGE);
      const fragment = document.createDocumentFragment();
      for (let k = shown; k < end; ++k) {
        const i = path.first + k;
        const verdict = POINT_VERDICTS[pts.verdict[i]];
        const tr = el('tr', { cls: verdict === 'out' ? 'out' : '' });
        const dev = pts.deviation[i];
        tr.appendChild(el('td', { text: pts.label(i) }));
        for (let a = 0; a < 3; ++a) tr.appendChild(el('td', { cls: 'num', text: fixed(pts.position[3 * i + a], digits.linear) }));
        tr.appendChild(el('td', { cls: 'num', text: Number.isNaN(dev) ? '\u2013' : signed(dev, digits.linear) }));
        for (let a = 0; a < 3; ++a) tr.appendChild(el('td', { cls: 'num', text: fixed(pts.limits[3 * i + a], digits.linear) }));
        tr.appendChild(el('td', { cls: 'verdict-cell ' + verdict, text: POINT_VERDICT_TEXT[verdict] }));
        const used = pts.limitUsed ? pts.limitUsed[i] : NaN;
        tr.appendChild(el('td', { cls: 'num' }, [Number.isNaN(used) ? null : shareBar(Math.abs(used))]));
        fragment.appendChild(tr);
      }
      tbody.appendChild(fragment);
      shown = end;
      more.textContent = 'Show ' + Math.min(POINT_PAGE, path.count - shown) + ' more of ' + (path.count - shown) + ' points';
      more.style.display = shown < path.count ? '' : 'none';
    };
    more.addEventListener('click', addPage);
    addPage();
    return el('div', {}, [table, more]);
  }

  function pathSection(data, pts, digits) {
    const s = section('Probe paths', 'paths');
    if (data.paths.length === 0) {
      s.appendChild(el('p', { cls: 'muted', text: 'This file holds no probe path.' }));
      return s;
    }
    s.appendChild(el('p', { cls: 'note no-print', text: 'Deviation along the probing direction (mm), positive beyond the nominal point; within limits when L \u2264 deviation \u2212 O \u2264 U. Click a path to list its points.' }));
    const table = el('table', { id: 'path-table' });
    const heads = ['#', 'Toolpath', 'Points', 'Measured', 'Smallest deviation', 'Largest deviation', 'Outside limits', 'Unmeasured'];
    table.appendChild(el('thead', {}, [el('tr', {}, heads.map((t, i) => el('th', { text: t, cls: i >= 2 ? 'num' : '' })))]));
    const tbody = el('tbody');
    for (const p of data.paths) {
      const tr = el('tr', { cls: 'path-row' + (p.outside > 0 ? ' out' : '') });
      [p.number, p.toolpath, p.points, p.measured, signed(p.smallest, digits.linear), signed(p.largest, digits.linear), p.outside, p.unmeasured]
        .forEach((v, i) => tr.appendChild(el('td', { text: v, cls: i >= 2 ? 'num' : '' })));
      let detail = null;
      tr.addEventListener('click', () => {
        if (detail) {
          detail.remove();
          detail = null;
          tr.classList.remove('open');
          return;
        }
        detail = el('tr', { cls: 'path-points' }, [el('td', { attrs: { colspan: String(heads.length) } }, [pointTable(data, pts, p, digits)])]);
        tr.after(detail);
        tr.classList.add('open');
      });
      tbody.appendChild(tr);
    }
    table.appendChild(tbody);
    s.appendChild(el('div', { cls: 'table-wrap' }, [table]));
    return s;
  }

  // The point limits most points share, for the histogram's L and U lines.
  function commonLimits(pts) {
    const counts = new Map();
    let best = null, bestCount = 0;
    for (let i = 0; i < pts.count; ++i) {
      if (Number.isNaN(pts.deviation[i])) continue;
      const key = pts.limits[3 * i] + ',' + pts.limits[3 * i + 1] + ',' + pts.limits[3 * i + 2];
      const n = (counts.get(key) || 0) + 1;
      counts.set(key, n);
      if (n > bestCount) { bestCount = n; best = key; }
      if (counts.size > 1000) break;  // enough to know the usual limits
    }
    if (!best) return null;
    const [o, u, l] = best.split(',').map(Number);
    return { o: o, u: u, l: l, shared: bestCount, distinct: counts.size };
  }

  function colourScale(pts, limits) {
    let scale = limits ? Math.max(Math.abs(limits.o + limits.u), Math.abs(limits.o + limits.l)) : 0;
    if (!(scale > 0)) {
      for (let i = 0; i < pts.count; ++i) {
        const d = Math.abs(pts.deviation[i]);
        if (d > scale) scale = d;
      }
    }
    return scale > 0 ? scale : 1;
  }

  function roundTexture(ring) {
    const canvas = document.createElement('canvas');
    canvas.width = canvas.height = 64;
    const g = canvas.getContext('2d');
    g.beginPath();
    g.arc(32, 32, ring ? 26 : 30, 0, Math.PI * 2);
    if (ring) {
      g.lineWidth = 8;
      g.strokeStyle = '#ffffff';
      g.stroke();
    } else {
      g.fillStyle = '#ffffff';
      g.fill();
    }
    return new THREE.CanvasTexture(canvas);
  }

  function viewSection(data, pts, digits, limits) {
    const s = section('3D deviation view', 'view');
    const measured = [];
    for (let i = 0; i < pts.count; ++i) if (pts.verdict[i] !== 3) measured.push(i);
    const viewer = el('div', { cls: 'viewer', id: 'viewer' });
    const tip = el('div', { cls: 'tip', id: 'tip' });
    const snapshot = el('img', { cls: 'snapshot', attrs: { alt: '3D view of the measured points' } });
    viewer.appendChild(tip);
    viewer.appendChild(snapshot);
    s.appendChild(viewer);
    const scale = colourScale(pts, limits);
    const ramp = el('span', { cls: 'ramp' });
    ramp.style.background = rampCss();
    s.appendChild(el('div', { cls: 'legend', id: 'legend' }, [
      el('span', { text: 'Deviation (mm):' }),
      el('span', { cls: 'num', text: signed(-scale, digits.linear) }), ramp, el('span', { cls: 'num', text: signed(scale, digits.linear) }),
      el('span', { cls: 'muted', text: 'white at 0; full colour at and beyond the limits. Rings mark feature positions. Drag to rotate, right-drag to pan, wheel to zoom.' }),
    ]));
    const picked = el('div', { cls: 'picked', id: 'picked' });
    s.appendChild(picked);
    s.appendChild(el('p', { cls: 'note', text: measured.length + ' measured points drawn at the confetti diameter ' + fixed(data.settings.confetti_mm, digits.linear) + ' mm.' }));
    if (typeof THREE === 'undefined') return s;

    let renderer;
    try {
      renderer = new THREE.WebGLRenderer({ antialias: true, preserveDrawingBuffer: true });
    } catch (e) {
      viewer.appendChild(el('p', { cls: 'note', text: 'This browser cannot draw the 3D view (WebGL is not available).' }));
      return s;
    }
    renderer.setPixelRatio(window.devicePixelRatio || 1);
    renderer.setClearColor(0x20252f, 1);
    viewer.insertBefore(renderer.domElement, tip);
    renderer.domElement.id = 'view-canvas';

    // Positions relative to the centre of the points, so single precision keeps the detail.
    const box = [Infinity, Infinity, Infinity, -Infinity, -Infinity, -Infinity];
    const grow = (x, y, z) => {
      box[0] = Math.min(box[0], x); box[1] = Math.min(box[1], y); box[2] = Math.min(box[2], z);
      box[3] = Math.max(box[3], x); box[4] = Math.max(box[4], y); box[5] = Math.max(box[5], z);
    };
    for (const i of measured) grow(pts.position[3 * i], pts.position[3 * i + 1], pts.position[3 * i + 2]);
    for (const f of data.features) if (f.position) grow(f.position[0], f.position[1], f.position[2]);
    if (!Number.isFinite(box[0])) { box[0] = box[1] = box[2] = -1; box[3] = box[4] = box[5] = 1; }
    const centre = [(box[0] + box[3]) / 2, (box[1] + box[4]) / 2, (box[2] + box[5]) / 2];
    const extent = Math.max(box[3] - box[0], box[4] - box[1], box[5] - box[2], data.settings.confetti_mm * 4, 1e-3);

    const scene = new THREE.Scene();
    const camera = new THREE.PerspectiveCamera(40, 1, extent / 1000, extent * 100);
    camera.up.set(0, 0, 1);
    camera.position.set(extent * 0.55, -extent * 0.85, extent * 0.65);
    const tanHalf = Math.tan((camera.fov * Math.PI) / 360);

    const positions = new Float32Array(measured.length * 3);
    const colours = new Float32Array(measured.length * 3);
    measured.forEach((i, k) => {
      for (let a = 0; a < 3; ++a) positions[3 * k + a] = pts.position[3 * i + a] - centre[a];
      const d = pts.deviation[i];
      const c = Number.isNaN(d) ? [0.6, 0.6, 0.6] : divergingColour(d / scale);
      colours[3 * k] = c[0]; colours[3 * k + 1] = c[1]; colours[3 * k + 2] = c[2];
    });
    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.BufferAttribute(positions, 3));
    geometry.setAttribute('color', new THREE.BufferAttribute(colours, 3));
    // A point sprite's size is in pixels at unit depth; dividing by tan(fov/2) makes it the
    // confetti diameter in model space whatever the camera distance.
    const material = new THREE.PointsMaterial({
      size: data.settings.confetti_mm / tanHalf, sizeAttenuation: true, vertexColors: THREE.VertexColors,
      map: roundTexture(false), alphaTest: 0.5, transparent: false,
    });
    const cloud = new THREE.Points(geometry, material);
    scene.add(cloud);

    const featureAt = data.features.filter((f) => f.position);
    let markers = null;
    if (featureAt.length) {
      const mp = new Float32Array(featureAt.length * 3);
      featureAt.forEach((f, k) => { for (let a = 0; a < 3; ++a) mp[3 * k + a] = f.position[a] - centre[a]; });
      const mg = new THREE.BufferGeometry();
      mg.setAttribute('position', new THREE.BufferAttribute(mp, 3));
      const mm = new THREE.PointsMaterial({ size: (data.settings.confetti_mm * 2.5) / tanHalf, sizeAttenuation: true,
        map: roundTexture(true), alphaTest: 0.5, color: 0xffd34d });
      markers = new THREE.Points(mg, mm);
      scene.add(markers);
    }
    const axes = new THREE.AxesHelper(extent * 0.12);
    axes.position.set(box[0] - centre[0], box[1] - centre[1], box[2] - centre[2]);
    scene.add(axes);

    const controls = new THREE.OrbitControls(camera, renderer.domElement);
    controls.target.set(0, 0, 0);
    controls.screenSpacePanning = true;

    const resize = () => {
      const w = viewer.clientWidth || 600, h = viewer.clientHeight || 400;
      renderer.setSize(w, h, false);
      camera.aspect = w / h;
      camera.updateProjectionMatrix();
      draw();
    };
    let pending = false;
    const draw = () => { renderer.render(scene, camera); };
    const requestDraw = () => {
      if (pending) return;
      pending = true;
      requestAnimationFrame(() => { pending = false; draw(); });
    };
    controls.addEventListener('change', requestDraw);
    window.addEventListener('resize', resize);

    const raycaster = new THREE.Raycaster();
    const mouse = new THREE.Vector2();
    const describe = (hit) => {
      if (hit.object === cloud) {
        const i = measured[hit.index];
        const d = pts.deviation[i];
        const verdict = POINT_VERDICTS[pts.verdict[i]];
        return pts.label(i) + '  ' + (Number.isNaN(d) ? 'no deviation' : signed(d, digits.linear) + ' mm') + '  ' + POINT_VERDICT_TEXT[verdict];
      }
      const f = featureAt[hit.index];
      return 'Feature #' + f.number + ' ' + f.kind + ' ' + f.identity;
    };
    const pick = (event) => {
      const rect = renderer.domElement.getBoundingClientRect();
      mouse.x = ((event.clientX - rect.left) / rect.width) * 2 - 1;
      mouse.y = -((event.clientY - rect.top) / rect.height) * 2 + 1;
      // Within the drawn radius of a point at the distance of the target.
      raycaster.params.Points.threshold = data.settings.confetti_mm * 0.6;
      raycaster.setFromCamera(mouse, camera);
      const targets = markers ? [cloud, markers] : [cloud];
      const hits = raycaster.intersectObjects(targets, false);
      if (!hits.length) return null;
      hits.sort((a, b) => (a.distanceToRay - b.distanceToRay) || (a.distance - b.distance));
      return { hit: hits[0], x: event.clientX - rect.left, y: event.clientY - rect.top };
    };
    let hoverQueued = null;
    renderer.domElement.addEventListener('mousemove', (event) => {
      if (hoverQueued) { hoverQueued = event; return; }
      hoverQueued = event;
      requestAnimationFrame(() => {
        const found = pick(hoverQueued);
        hoverQueued = null;
        if (!found) { tip.style.display = 'none'; return; }
        tip.textContent = describe(found.hit);
        tip.style.left = Math.min(found.x + 12, viewer.clientWidth - 20) + 'px';
        tip.style.top = (found.y + 12) + 'px';
        tip.style.display = 'block';
      });
    });
    renderer.domElement.addEventListener('mouseleave', () => { tip.style.display = 'none'; });
    renderer.domElement.addEventListener('click', (event) => {
      const found = pick(event);
      picked.textContent = found ? 'Selected: ' + describe(found.hit) : '';
    });
    window.addEventListener('beforeprint', () => { draw(); snapshot.src = renderer.domElement.toDataURL('image/png'); });
    if (window.matchMedia) {
      const print = window.matchMedia('print');
      if (print.addListener) print.addListener((m) => { if (m.matches) { draw(); snapshot.src = renderer.domElement.toDataURL('image/png'); } });
    }
    // For the browser tests: where a point appears on the canvas.
    window.cncprobeView = {
      project: (k) => {
        const v = new THREE.Vector3(positions[3 * k], positions[3 * k + 1], positions[3 * k + 2]).project(camera);
        const rect = renderer.domElement.getBoundingClientRect();
        return { x: (v.x + 1) / 2 * rect.width, y: (1 - v.y) / 2 * rect.height };
      },
      labelOf: (k) => pts.label(measured[k]),
      count: measured.length,
      draw: draw,
    };
    resize();
    return s;
  }

  function histogramSection(pts, digits, limits) {
    const s = section('Point deviations', 'histogram');
    const values = [];
    for (let i = 0; i < pts.count; ++i) if (!Number.isNaN(pts.deviation[i])) values.push(pts.deviation[i]);
    if (!values.length || typeof Chart === 'undefined') {
      s.appendChild(el('p', { cls: 'muted', text: 'No measured point.' }));
      return s;
    }
    let lo = Infinity, hi = -Infinity;
    for (const v of values) { if (v < lo) lo = v; if (v > hi) hi = v; }
    const lower = limits ? limits.o + limits.l : null, upper = limits ? limits.o + limits.u : null;
    if (lower !== null) { lo = Math.min(lo, lower); hi = Math.max(hi, upper); }
    const span = hi - lo || Math.max(Math.abs(hi), 1e-3);
    lo -= span * 0.05; hi += span * 0.05;
    const bins = Math.max(20, Math.min(60, Math.ceil(2 * Math.sqrt(values.length))));
    const width = (hi - lo) / bins;
    const counts = new Array(bins).fill(0);
    for (const v of values) counts[Math.min(bins - 1, Math.max(0, Math.floor((v - lo) / width)))]++;
    const labels = counts.map((c, b) => fixed(lo + (b + 0.5) * width, digits.linear));
    const colours = counts.map((c, b) => {
      const mid = lo + (b + 0.5) * width;
      return (lower !== null && (mid < lower || mid > upper)) ? '#b3261e' : '#3b6fd8';
    });
    const box = el('div', { cls: 'chart-box' });
    const canvas = el('canvas', { id: 'histogram-canvas', attrs: { 'aria-label': 'Histogram of point deviations' } });
    box.appendChild(canvas);
    s.appendChild(box);
    const limitLines = {
      id: 'limitLines',
      afterDatasetsDraw(chart) {
        if (lower === null) return;
        const x = chart.scales.x, area = chart.chartArea, g = chart.ctx;
        const at = (value) => {  // the category axis places bin b at its centre
          const f = (value - lo) / width - 0.5;
          const b0 = Math.max(0, Math.min(bins - 1, Math.floor(f)));
          const b1 = Math.min(bins - 1, b0 + 1);
          const p0 = x.getPixelForValue(b0), p1 = x.getPixelForValue(b1);
          return p0 + (p1 - p0) * (f - b0);
        };
        g.save();
        g.strokeStyle = '#b3261e';
        g.fillStyle = '#b3261e';
        g.setLineDash([6, 4]);
        g.lineWidth = 1.5;
        g.font = '12px sans-serif';
        for (const [value, name] of [[lower, 'L'], [upper, 'U']]) {
          const px = at(value);
          g.beginPath(); g.moveTo(px, area.top); g.lineTo(px, area.bottom); g.stroke();
          g.textAlign = name === 'U' ? 'right' : 'left';  // labels lean inwards, never off the chart
          g.fillText(name + ' ' + signed(value, digits.linear), name === 'U' ? px - 4 : px + 4, area.top + 12);
        }
        g.restore();
      },
    };
    new Chart(canvas.getContext('2d'), {
      type: 'bar',
      data: { labels: labels, datasets: [{ label: 'points', data: counts, backgroundColor: colours, barPercentage: 1, categoryPercentage: 1 }] },
      options: {
        animation: false, responsive: true, maintainAspectRatio: false,
        plugins: { legend: { display: false } },
        scales: { x: { title: { display: true, text: 'deviation along the probing direction (mm)' } },
                  y: { title: { display: true, text: 'points' }, beginAtZero: true } },
      },
      plugins: [limitLines],
    });
    if (limits) {
      s.appendChild(el('p', { cls: 'note', text: 'L and U drawn at O + L and O + U of the limits ' +
        (limits.distinct > 1 ? 'that ' + limits.shared + ' of the measured points share (others have their own)' : 'every measured point shares') +
        ': O ' + fixed(limits.o, digits.linear) + ', L ' + fixed(limits.l, digits.linear) + ', U ' + fixed(limits.u, digits.linear) + '.' }));
    }
    return s;
  }

  function renderReport(data) {
    const main = document.getElementById('report');
    const digits = digitsOf(data);
    const pts = decodePoints(data.points);
    if (data.points.limit_used) pts.limitUsed = new Float64Array(decodeBase64(data.points.limit_used));
    main.appendChild(firstScreen(data, digits));
    main.appendChild(featureSection(data, digits));
    main.appendChild(pathSection(data, pts, digits));
    const limits = commonLimits(pts);
    main.appendChild(viewSection(data, pts, digits, limits));
    main.appendChild(histogramSection(pts, digits, limits));
    main.appendChild(el('p', { cls: 'note', text: 'Written by ' + data.generator + ' on ' + dateText(data.report_date) + '.' }));
  }

  // ------------------------------------------------------------------------------------------
  // The trend report of several runs

  function renderTrend(data) {
    const main = document.getElementById('report');
    const digits = digitsOf(data);
    const head = el('section', { id: 'summary' });
    head.appendChild(el('h1', { text: 'Trend report: ' + data.runs.length + ' runs', id: 'report-title' }));
    head.appendChild(el('p', { cls: 'note', text: 'Report date ' + dateText(data.report_date) + '. True position read as a ' +
      (data.convention === 'radial' ? 'radial limit' : 'diametral zone') + '. Features matched by kind, toolpath, pattern instance and identity; points by label.' }));
    const runs = el('table', { id: 'run-table' });
    runs.appendChild(el('thead', {}, [el('tr', {}, ['Run', 'File', 'Results file', 'File date', 'Status', 'Verdict'].map((t) => el('th', { text: t })))]));
    const rb = el('tbody');
    data.runs.forEach((r, k) => {
      rb.appendChild(el('tr', { cls: r.passed ? '' : 'out' }, [
        el('td', { text: k + 1, cls: 'num' }), el('td', { text: r.file }), el('td', { text: r.results_file || '\u2013' }),
        el('td', { text: dateText(r.file_date) }), el('td', { text: r.status }),
        el('td', { text: r.passed ? 'PASS' : 'FAIL', cls: 'verdict-cell ' + (r.passed ? 'in' : 'out') }),
      ]));
    });
    runs.appendChild(rb);
    main.appendChild(head);
    const runSection = section('Runs', 'runs');
    runSection.appendChild(el('div', { cls: 'table-wrap' }, [runs]));

    const baselineRuns = data.baseline_runs || data.runs.length;
    const firstJudged = data.first_judged || 0;
    // "runs 12–20, 23": consecutive runs as ranges, numbered from 1.
    const runRanges = (runs) => {
      const parts = [];
      for (let i = 0; i < runs.length;) {
        let j = i;
        while (j + 1 < runs.length && runs[j + 1] === runs[j] + 1) ++j;
        parts.push(j > i ? (runs[i] + 1) + '–' + (runs[j] + 1) : String(runs[i] + 1));
        i = j + 1;
      }
      return (runs.length > 1 ? 'runs ' : 'run ') + parts.join(', ');
    };
    const ruleText = { 1: 'beyond 3\u03c3', 2: 'nine on one side', 3: 'six rising or falling', 4: 'fourteen alternating',
      5: 'two of three beyond 2\u03c3', 6: 'four of five beyond 1\u03c3', 7: 'fifteen within 1\u03c3', 8: 'eight outside 1\u03c3' };
    const stateText = { too_few_values: 'too few values for control limits', no_spread: 'no spread in the baseline: no control limits, no rules',
      no_baseline: 'not in the baseline' };
    const indexDigits = digits.unitless > 2 ? 2 : digits.unitless;
    const series = data.features.concat(data.points);

    // The baseline shaded behind the values, and each violation's rule numbers above its point.
    const spcMarks = {
      id: 'spcMarks',
      beforeDatasetsDraw(chart) {
        if (baselineRuns >= data.runs.length) return;
        const x = chart.scales.x, area = chart.chartArea, ctx = chart.ctx;
        const right = (x.getPixelForValue(baselineRuns - 1) + x.getPixelForValue(baselineRuns)) / 2;
        ctx.save();
        ctx.fillStyle = 'rgba(59, 111, 216, 0.08)';
        ctx.fillRect(area.left, area.top, right - area.left, area.bottom - area.top);
        ctx.fillStyle = '#5b6475';
        ctx.font = '11px system-ui, sans-serif';
        ctx.fillText('baseline', area.left + 4, area.top + 12);
        ctx.restore();
      },
      afterDatasetsDraw(chart) {
        const marks = chart.options.plugins.spcMarks.marks;
        const x = chart.scales.x, y = chart.scales.y, ctx = chart.ctx;
        ctx.save();
        ctx.fillStyle = '#b3261e';
        ctx.font = 'bold 11px system-ui, sans-serif';
        ctx.textAlign = 'center';
        for (const m of marks) ctx.fillText(m.rules.join(','), x.getPixelForValue(m.run), y.getPixelForValue(m.value) - 9);
        ctx.restore();
      },
    };
    // The individuals chart of one series: values, centre line, control and tolerance limits.
    const chartOf = (q, grid) => {
      const d = q.quantity === 'angle' ? digits.angular : digits.linear;
      const st = q.stats;
      const box = el('div', { cls: 'chart-box trend-chart' });
      const canvas = el('canvas');
      grid.appendChild(el('h3', { text: q.item + ' \u2013 ' + q.label, cls: 'chart-title' }));
      box.appendChild(canvas);
      grid.appendChild(box);
      const runLabels = data.runs.map((r, k) => String(k + 1));
      // The rules fired at each run, on the individuals chart or its moving range.
      const byRun = new Map();
      for (const v of q.violations) {
        if (!byRun.has(v.run)) byRun.set(v.run, new Set());
        byRun.get(v.run).add(v.chart === 'moving_range' ? v.rule + 'mr' : String(v.rule));
      }
      const marks = Array.from(byRun.entries()).filter(([run]) => q.values[run] !== null)
        .map(([run, rules]) => ({ run: run, value: q.values[run], rules: Array.from(rules).sort() }));
      box.dataset.marks = JSON.stringify(marks);
      const colour = q.values.map((v, k) => (byRun.has(k) ? '#b3261e' : '#3b6fd8'));
      const datasets = [{ label: q.value_name, data: q.values, borderColor: '#3b6fd8', backgroundColor: colour, pointBackgroundColor: colour,
        pointBorderColor: colour, pointRadius: q.values.map((v, k) => (byRun.has(k) ? 5 : 3)), spanGaps: false, tension: 0 }];
      const line = (value, name, colourOf, dash, width) => ({ label: name, data: runLabels.map(() => value), borderColor: colourOf,
        backgroundColor: colourOf, borderDash: dash, pointRadius: 0, borderWidth: width });
      if (st.centre !== null) datasets.push(line(st.centre, 'centre line', '#1f7a3a', [], 1.5));
      if (st.ucl !== null) datasets.push(line(st.ucl, 'control limits (\u00b13\u03c3)', '#d97706', [4, 3], 1.5));
      if (st.lcl !== null) datasets.push(Object.assign(line(st.lcl, 'LCL', '#d97706', [4, 3], 1.5), { legendHidden: true }));
      if (q.upper !== null) datasets.push(line(q.upper, 'tolerance limits', '#b3261e', [8, 4], 2));
      if (q.lower !== null) datasets.push(Object.assign(line(q.lower, 'lower tolerance', '#b3261e', [8, 4], 2), { legendHidden: q.upper !== null }));
      new Chart(canvas.getContext('2d'), {
        type: 'line',
        data: { labels: runLabels, datasets: datasets },
        options: {
          animation: false, responsive: true, maintainAspectRatio: false,
          layout: { padding: { top: 14, right: 28 } },
          scales: { x: { title: { display: true, text: 'run' } }, y: { ticks: { callback: (v) => fixed(v, d + 1) } } },
          plugins: {
            legend: { position: 'bottom', labels: { filter: (item, chartData) => !chartData.datasets[item.datasetIndex].legendHidden } },
            spcMarks: { marks: marks },
          },
        },
        plugins: [spcMarks],
      });
    };

    // Drifting: the series with a rule fired on a judged run, the most violations first, then
    // the latest.
    const drifting = series.filter((q) => q.violations.length)
      .map((q) => ({ q: q, last: Math.max.apply(null, q.violations.map((v) => v.run)) }))
      .sort((a, b) => b.q.violations.length - a.q.violations.length || b.last - a.last);
    const drift = section('Drifting', 'drifting');
    drift.appendChild(el('p', { cls: 'note', text: 'Control limits from ' + (baselineRuns === data.runs.length ? 'all ' + baselineRuns + ' runs' :
      'the first ' + baselineRuns + ' runs (shaded on the charts); runs ' + (firstJudged + 1) + ' to ' + data.runs.length + ' are judged against them') +
      '. Rules: 1 ' + ruleText[1] + ', 2 ' + ruleText[2] + ', 3 ' + ruleText[3] + ', 4 ' + ruleText[4] + ', 5 ' + ruleText[5] + ', 6 ' + ruleText[6] +
      ', 7 ' + ruleText[7] + ', 8 ' + ruleText[8] + ' (\u03c3 from the moving ranges of the baseline; rule 1 also on the moving range, marked 1mr on the charts).' }));
    if (!drifting.length) {
      drift.appendChild(el('p', { cls: 'drift-none', text: 'Nothing is drifting: no rule fired on a judged run.' }));
    } else {
      const list = el('ol', { cls: 'drift-list', id: 'drift-list' });
      for (const { q } of drifting) {
        const rules = Array.from(new Set(q.violations.map((v) => v.rule))).sort((a, b) => a - b);
        const runs = Array.from(new Set(q.violations.map((v) => v.run))).sort((a, b) => a - b);
        list.appendChild(el('li', {}, [
          el('strong', { text: q.item + ' \u2013 ' + q.label }),
          el('span', { text: ': ' + q.violations.length + ' violation' + (q.violations.length > 1 ? 's' : '') + ', rule' + (rules.length > 1 ? 's ' : ' ') +
            rules.join(', ') + ' (' + rules.map((r) => ruleText[r]).join('; ') + '), at ' + runRanges(runs) + '.' }),
        ]));
      }
      drift.appendChild(list);
      if (typeof Chart !== 'undefined') {
        const grid = el('div', { cls: 'trend-charts', id: 'drift-charts' });
        drift.appendChild(grid);
        for (const { q } of drifting.slice(0, 2)) chartOf(q, grid);
      }
    }
    main.appendChild(drift);
    main.appendChild(runSection);

    const capabilityCell = (value, preliminary, n, title) => {
      const cell = el('td', { cls: 'num' + (preliminary && value !== null ? ' preliminary' : ''), text: fixed(value, indexDigits) });
      if (value !== null) cell.title = title + ' from n = ' + n + (preliminary ? ' (preliminary: fewer than 25)' : '');
      if (value !== null && preliminary) cell.textContent += '*';
      return cell;
    };

    const statsSection = (title, id, list, withCharts) => {
      const s = section(title, id);
      if (!list.length) {
        s.appendChild(el('p', { cls: 'muted', text: 'Nothing to compare.' }));
        return s;
      }
      const table = el('table', { id: id + '-table' });
      const heads = ['Item', 'Quantity', 'n', 'Mean', 's', '\u03c3 within', 'Control limits', 'Tolerance', 'Cp', 'Cpk', 'Cpk 95%', 'Pp', 'Ppk', 'Rules', 'Note'];
      table.appendChild(el('thead', {}, [el('tr', {}, heads.map((t, i) => el('th', { text: t, cls: i >= 2 && i < 14 ? 'num' : '' })))]));
      const tb = el('tbody');
      for (const q of list) {
        const d = q.quantity === 'angle' ? digits.angular : digits.linear;
        const st = q.stats;
        const notes = [];
        if (stateText[st.state]) notes.push(stateText[st.state]);
        if (st.one_sided) notes.push('one-sided: Cpu, Ppu');
        const rules = Array.from(new Set(q.violations.map((v) => v.rule))).sort((a, b) => a - b);
        tb.appendChild(el('tr', { cls: q.violations.length ? 'out' : '' }, [
          el('td', { text: q.item }), el('td', { text: q.label }), el('td', { cls: 'num', text: st.n }),
          el('td', { cls: 'num', text: fixed(st.mean, d + 1) }), el('td', { cls: 'num', text: fixed(st.standard_deviation, d + 1) }),
          el('td', { cls: 'num', text: fixed(st.sigma_within, d + 1) }),
          el('td', { cls: 'num nowrap', text: st.lcl === null ? '\u2013' : fixed(st.lcl, d + 1) + ' \u2026 ' + fixed(st.ucl, d + 1) }),
          el('td', { cls: 'num nowrap', text: q.upper === null ? '\u2013' : q.lower === null ? '\u2264 ' + fixed(q.upper, d) :
            q.lower === -q.upper ? '\u00b1' + fixed(q.upper, d) : fixed(q.lower, d) + ' \u2026 ' + fixed(q.upper, d) }),
          capabilityCell(st.cp, st.capability_preliminary, st.baseline_n, 'Cp'),
          capabilityCell(st.cpk, st.capability_preliminary, st.baseline_n, st.one_sided ? 'Cpu' : 'Cpk'),
          el('td', { cls: 'num nowrap', text: st.cpk_low === null ? '\u2013' : fixed(st.cpk_low, indexDigits) + ' \u2026 ' + fixed(st.cpk_high, indexDigits) }),
          capabilityCell(st.pp, st.performance_preliminary, st.n, 'Pp'),
          capabilityCell(st.ppk, st.performance_preliminary, st.n, st.one_sided ? 'Ppu' : 'Ppk'),
          el('td', { cls: 'num rules-cell', text: rules.length ? rules.join(', ') : '' }),
          el('td', { cls: 'muted', text: notes.join('; ') }),
        ]));
      }
      table.appendChild(tb);
      s.appendChild(el('div', { cls: 'table-wrap' }, [table]));
      s.appendChild(el('p', { cls: 'note', text: 'Cp, Cpk: capability, from \u03c3 within (mean moving range / 1.128) and the baseline\u2019s mean, with n the baseline\u2019s runs; ' +
        'Pp, Ppk: performance, from the standard deviation s and the mean of every run. * preliminary: from fewer than 25 runs. ' +
        'Cpk 95%: its approximate interval (Bissell). A trend (a wearing tool) shows as Cpk above Ppk.' }));
      if (!withCharts || typeof Chart === 'undefined') return s;
      const grid = el('div', { cls: 'trend-charts' });
      s.appendChild(grid);
      for (const q of list) chartOf(q, grid);
      return s;
    };
    main.appendChild(statsSection('Feature quantities', 'trend-features', data.features, true));
    main.appendChild(statsSection('Points (deviation along the probing direction, mm)', 'trend-points', data.points, false));
    if (data.points_omitted) main.appendChild(el('p', { cls: 'note', text: data.points_omitted + ' more points are not listed.' }));
  }

  // ------------------------------------------------------------------------------------------

  const data = JSON.parse(document.getElementById('report-data').textContent);
  document.title = (data.kind === 'trend' ? 'Trend report' : 'Inspection report') + (data.file ? ': ' + data.file : '');
  if (data.kind === 'trend') renderTrend(data); else renderReport(data);
  document.body.dataset.ready = 'true';
})();
