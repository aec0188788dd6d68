document.getElementById("headline").textContent = JSON.parse(document.getElementById("data").textContent).headline;
