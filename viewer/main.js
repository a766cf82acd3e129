// The page of one session.

offerTargets();
drawLayers();
draw();
listen();
if (document.documentElement.hasAttribute('data-live')) followSession();
