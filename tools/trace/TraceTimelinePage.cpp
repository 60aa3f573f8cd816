#include "TraceTimelinePage.h"

#include "TracePairing.h"

namespace hbbtv_trace {

namespace {

// The script draws into an SVG: lanes host, library and browser from top to bottom; each
// crossing an arrow between two lanes at its time; each command a span on the library lane from
// its hand-over to its completion (red when it timed out). Hovering shows the line's fields.
// Zoom: a time range in milliseconds, or a drag across the drawing. After drawing, the page
// writes data-rendered on <body>; a script error is written into #errors.
const char kPageHead[] = R"PAGE(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>hbbtv-trace: @TITLE@</title>
<style>
body { font: 13px sans-serif; margin: 12px; color: #222; }
#controls { margin: 6px 0; }
#controls input { width: 90px; }
#errors { color: #b00; white-space: pre; }
svg { border: 1px solid #bbb; background: #fff; user-select: none; }
.lane { stroke: #999; stroke-width: 1; }
.laneName { font-weight: bold; font-size: 13px; }
.arrow { stroke-width: 1.5; }
.span { fill: #4a8; opacity: 0.55; }
.span.timeout { fill: #d22; opacity: 0.8; }
.tick { stroke: #eee; }
.tickText { fill: #777; font-size: 10px; }
#legend span { margin-right: 14px; }
</style></head>
<body>
<div id="errors"></div>
<h3>hbbtv-trace: @TITLE@</h3>
<div id="controls">from <input id="from" type="number" step="any"> ms to <input id="to" type="number" step="any"> ms
<button id="zoom">zoom</button> <button id="all">whole trace</button> <span id="status"></span></div>
<div id="legend"><span style="color:#1565c0">&#9632; host call</span><span style="color:#6a1b9a">&#9632; callback / command to host</span>
<span style="color:#2e7d32">&#9632; browser request</span><span style="color:#ef6c00">&#9632; event / key to browser</span>
<span style="color:#4a8">&#9632; command in flight</span><span style="color:#d22">&#9632; timed out</span></div>
<svg id="timeline" width="1400" height="420" xmlns="http://www.w3.org/2000/svg"></svg>
<script>
window.onerror = function (message, source, line) {
  document.getElementById('errors').textContent += 'script error: ' + message + ' (line ' + line + ')\n';
};
</script>
<script type="application/json" id="trace">)PAGE";

const char kPageTail[] = R"PAGE(</script>
<script>
(function () {
  var lines = JSON.parse(document.getElementById('trace').textContent);
  var svg = document.getElementById('timeline');
  var NS = 'http://www.w3.org/2000/svg';
  var W = 1400, left = 90, right = 20, top = 40;
  var laneY = { host: 80, library: 210, browser: 340 };
  var colours = { host: '#1565c0', toHost: '#6a1b9a', browser: '#2e7d32', toBrowser: '#ef6c00', other: '#555' };
  // The lanes each kind of line leaves and reaches, and each command's span from hand-over to
  // completion or time-out, come paired from the tool; the colours are the page's own.
  var model = JSON.parse(document.getElementById('model').textContent);
  var kindColours = {
    host: colours.host, callback: colours.toHost, command: colours.toHost, completed: colours.host,
    timeout: '#d22', unmatched: '#d22', request: colours.browser, browser: colours.browser,
    event: colours.toBrowser, key: colours.toBrowser, binder: '#000', answer: colours.other, dropped: '#d22'
  };
  function routeOf(kind) {
    var lanes = model.routes[kind] || ['library', 'library'];
    return [lanes[0], lanes[1], kindColours[kind] || colours.other];
  }
  if (lines.length === 0) { document.body.setAttribute('data-rendered', '0'); return; }
  var t0 = lines[0].t, t1 = lines[0].t;
  lines.forEach(function (l) { t0 = Math.min(t0, l.t); t1 = Math.max(t1, l.t); });
  var spans = model.spans.map(function (s) {
    return { start: s.start, end: s.end, line: lines[s.line], outcome: s.outcome === null ? null : lines[s.outcome],
             timeout: s.timeout };
  });
  function ms(t) { return (t - t0) / 1000; }
  var view = { from: 0, to: Math.max(ms(t1), 0.001) };
  function el(name, attributes, parent) {
    var e = document.createElementNS(NS, name);
    for (var k in attributes) { e.setAttribute(k, attributes[k]); }
    (parent || svg).appendChild(e);
    return e;
  }
  function tip(e, text) { el('title', {}, e).textContent = text; }
  function describe(l) {
    var copy = {};
    for (var k in l) { if (k !== 'kind' && k !== 'name') { copy[k] = l[k]; } }
    return l.kind + ' ' + l.name + ' @ ' + ms(l.t).toFixed(3) + ' ms\n' + JSON.stringify(copy, null, 1);
  }
  function draw() {
    while (svg.firstChild) { svg.removeChild(svg.firstChild); }
    var span = view.to - view.from;
    function x(t) { return left + (ms(t) - view.from) / span * (W - left - right); }
    var defs = el('defs', {});
    Object.keys(colours).concat(['red', 'black']).forEach(function (c) {
      var colour = colours[c] || (c === 'red' ? '#d22' : '#000');
      var m = el('marker', { id: 'head-' + c, markerWidth: 8, markerHeight: 8, refX: 7, refY: 4, orient: 'auto' }, defs);
      el('path', { d: 'M0,0 L8,4 L0,8 z', fill: colour }, m);
    });
    for (var i = 0; i <= 10; ++i) {
      var tx = left + i / 10 * (W - left - right);
      el('line', { x1: tx, y1: top - 10, x2: tx, y2: 400, class: 'tick' });
      el('text', { x: tx + 2, y: top - 14, class: 'tickText' }).textContent = (view.from + span * i / 10).toFixed(2) + ' ms';
    }
    Object.keys(laneY).forEach(function (lane) {
      el('line', { x1: left, y1: laneY[lane], x2: W - right, y2: laneY[lane], class: 'lane' });
      el('text', { x: 8, y: laneY[lane] + 4, class: 'laneName' }).textContent = lane;
    });
    spans.forEach(function (s) {
      if (ms(s.end) < view.from || ms(s.start) > view.to) { return; }
      var a = Math.max(x(s.start), left), b = Math.min(x(s.end), W - right);
      var r = el('rect', { x: a, y: laneY.library + 8, width: Math.max(b - a, 2), height: 14,
                           class: 'span' + (s.timeout ? ' timeout' : '') });
      tip(r, describe(s.line) + (s.outcome ? '\n' + describe(s.outcome) : '\n(no completion in the trace)'));
    });
    var shown = 0;
    lines.forEach(function (l) {
      var at = ms(l.t);
      if (at < view.from || at > view.to) { return; }
      var route = routeOf(l.kind);
      var px = x(l.t), y1 = laneY[route[0]], y2 = laneY[route[1]];
      var colourName = Object.keys(colours).filter(function (k) { return colours[k] === route[2]; })[0]
        || (route[2] === '#d22' ? 'red' : 'black');
      var g = el('g', {});
      if (y1 === y2) {
        el('circle', { cx: px, cy: y1 - 12, r: 4, fill: route[2] }, g);
      } else {
        var dy = y2 > y1 ? -6 : 6;
        el('line', { x1: px, y1: y1, x2: px, y2: y2 + dy, stroke: route[2], class: 'arrow',
                     'marker-end': 'url(#head-' + colourName + ')' }, g);
      }
      tip(g, describe(l));
      ++shown;
    });
    document.getElementById('from').value = view.from.toFixed(3);
    document.getElementById('to').value = view.to.toFixed(3);
    document.getElementById('status').textContent = shown + ' of ' + lines.length + ' crossings shown, ' +
      spans.length + ' commands';
    return shown;
  }
  document.getElementById('zoom').onclick = function () {
    var f = parseFloat(document.getElementById('from').value), t = parseFloat(document.getElementById('to').value);
    if (t > f) { view.from = f; view.to = t; draw(); }
  };
  document.getElementById('all').onclick = function () { view.from = 0; view.to = Math.max(ms(t1), 0.001); draw(); };
  var dragFrom = null;
  function timeAt(event) {
    var box = svg.getBoundingClientRect();
    return view.from + (event.clientX - box.left - left) / (W - left - right) * (view.to - view.from);
  }
  svg.addEventListener('mousedown', function (e) { dragFrom = timeAt(e); });
  svg.addEventListener('mouseup', function (e) {
    if (dragFrom === null) { return; }
    var a = Math.min(dragFrom, timeAt(e)), b = Math.max(dragFrom, timeAt(e));
    dragFrom = null;
    if (b - a > (view.to - view.from) / 500) { view.from = a; view.to = b; draw(); }
  });
  var shown = draw();
  document.body.setAttribute('data-rendered', String(shown));
})();
</script>
</body></html>
)PAGE";

void replaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

std::string escapeHtml(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '&': out += "&amp;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

} // namespace

std::string timelinePage(const nlohmann::json& lines, const std::string& title)
{
    std::string head = kPageHead;
    replaceAll(head, "@TITLE@", escapeHtml(title));
    // Inside a script element only "</" can end it early; "<\/" reads the same in JSON.
    std::string data = lines.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    replaceAll(data, "</", "<\\/");
    nlohmann::json spans = nlohmann::json::array();
    for (const CommandSpan& span : pairLines(lines).commands) {
        spans.push_back({ { "start", span.start }, { "end", span.end }, { "line", span.handOver },
            { "outcome", span.outcome == kNoLine ? nlohmann::json() : nlohmann::json(span.outcome) },
            { "timeout", span.timedOut } });
    }
    const nlohmann::json model = { { "routes", routesJson() }, { "spans", spans } };
    return head + data + "</script>\n<script type=\"application/json\" id=\"model\">" + model.dump() + kPageTail;
}

} // namespace hbbtv_trace
